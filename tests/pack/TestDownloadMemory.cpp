#include "support/PackDownload.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <algorithm>

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
} // namespace

class TestDownloadMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void memoryDoesNotGrowWithThePack();
};

void TestDownloadMemory::memoryDoesNotGrowWithThePack()
{
    constexpr qint64 size = 256 * MiB;
    PackDownload download;
    VendorAnswer answer;
    answer.filler = size;
    download.answer(answer);

    const qint64 before = memory("VmRSS");
    QVERIFY(download.run(100000));
    const qint64 peak = memory("VmHWM");

    QCOMPARE(download.results, QList<bool>{true});
    QVERIFY(std::ranges::is_sorted(download.percentages));
    QCOMPARE(download.percentages.constLast(), 100.0);
    QCOMPARE(QFileInfo(download.world.archive()).size(), size);
    QVERIFY(before > 0);
    QVERIFY2(peak - before < 64 * MiB, QByteArray::number((peak - before) / MiB).constData());
}

QTEST_GUILESS_MAIN(TestDownloadMemory)
#include "TestDownloadMemory.moc"
