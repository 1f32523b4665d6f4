#include "pack/WayfarUpdateInstaller.h"

#include "support/TestWorld.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

// The address sanitizer keeps freed memory, which is no growth of the program's.
extern "C" const char *__asan_default_options();
extern "C" const char *__asan_default_options()
{
    return "quarantine_size_mb=8";
}

namespace
{
constexpr qint64 MiB = 1024 * 1024;

// A figure of this process, in bytes.
qint64 memory(const QByteArray &name)
{
    QFile status(u"/proc/self/status"_s);
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith(name + ':'))
                return line.simplified().split(' ').value(1).toLongLong() * 1024;
        }
    }
    return -1;
}

class ProgressWatch : public UpdateDownloadDelegate
{
public:
    void downloadProgressUpdate(double percentage) override
    {
        rising = rising && percentage >= last && percentage <= 100;
        last = percentage;
    }
    void downloadFinishedWithResult(bool good) override { result = good; }

    bool rising = true;
    double last = 0;
    std::optional<bool> result;
};
} // namespace

class TestDownloadMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void memoryDoesNotGrowWithThePack();
};

void TestDownloadMemory::memoryDoesNotGrowWithThePack()
{
    constexpr qint64 size = 1024 * MiB;
    TestWorld world;
    VendorAnswer answer;
    answer.filler = size;
    world.vendor().setAnswer("/api/dlGuide", answer);
    ProgressWatch watch;
    const auto installer = std::make_shared<WayfarUpdateInstaller>(world.defaults(), world.loader(), world.site());
    installer->setDelegate(&watch);

    const qint64 before = memory("VmRSS");
    installer->downloadUpdate();
    QTRY_VERIFY_WITH_TIMEOUT(watch.result.has_value(), 100000);
    const qint64 peak = memory("VmHWM");

    QCOMPARE(watch.result, std::optional(true));
    QVERIFY(watch.rising);
    QCOMPARE(watch.last, 100.0);
    QCOMPARE(QFileInfo(world.archive()).size(), size);
    QVERIFY(before > 0);
    QVERIFY2(peak - before < 64 * MiB, QByteArray::number((peak - before) / MiB).constData());
}

QTEST_GUILESS_MAIN(TestDownloadMemory)
#include "TestDownloadMemory.moc"
