#include "pack/DownloadFile.h"

#include "support/TestWorld.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

class TestDownloadFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void everyResponseEmptiesTheFileAndTheCount();
    void thePercentageIsTruncated_data();
    void thePercentageIsTruncated();
    void aPieceForAMissingFileIsLost();
    void aFileThatCannotBeMadeIsNoError_data();
    void aFileThatCannotBeMadeIsNoError();

private:
    QByteArray written() const
    {
        return QFile::exists(m_world->archive()) ? m_world->read(m_world->archive()) : "(none)";
    }

    std::unique_ptr<TestWorld> m_world;
};

void TestDownloadFile::everyResponseEmptiesTheFileAndTheCount()
{
    m_world->write(m_world->archive(), "of an earlier run");
    DownloadFile file;
    QCOMPARE(file.totalSize(), 0);
    QCOMPARE(file.totalDownloaded(), 0);
    file.remove();
    QCOMPARE(written(), "(none)");
    file.begin(10);
    QCOMPARE(written(), "");
    QCOMPARE(file.append("abcd"), 40);
    QCOMPARE(file.append("e"), 50);
    QCOMPARE(written(), "abcde");
    file.begin(4);
    QCOMPARE(file.totalSize(), 4);
    QCOMPARE(file.totalDownloaded(), 0);
    QCOMPARE(written(), "");
    QCOMPARE(file.append("xyz"), 75);
    QCOMPARE(written(), "xyz");
}

void TestDownloadFile::thePercentageIsTruncated_data()
{
    QTest::addColumn<qint64>("announced");
    QTest::addColumn<int>("received");
    QTest::addColumn<double>("percentage");
    const auto row = [](const char *name, qint64 announced, int received, double percentage) {
        QTest::newRow(name) << announced << received << percentage;
    };
    row("a third", 3, 1, 33);
    row("two thirds", 3, 2, 66);
    row("not yet one", 1000, 9, 0);
    row("nearly all", 1000, 999, 99);
    row("all", 1, 1, 100);
    row("more than announced", 10, 15, 150);
    row("announced as nothing", 0, 15, 0);
    row("not announced", -1, 7, -700);
    row("longer than 32 bits count", qint64(5) << 32, 1 << 20, 0);
}

void TestDownloadFile::thePercentageIsTruncated()
{
    QFETCH(const qint64, announced);
    QFETCH(const int, received);
    DownloadFile file;
    file.begin(announced);
    QTEST(file.append(QByteArray(received, 'x')), "percentage");
    QCOMPARE(file.totalSize(), announced);
    QCOMPARE(file.totalDownloaded(), received);
}

void TestDownloadFile::aPieceForAMissingFileIsLost()
{
    DownloadFile file;
    file.begin(4);
    QVERIFY(QFile::remove(m_world->archive()));
    QCOMPARE(file.append("ab"), 50);
    QCOMPARE(file.append("cd"), 100);
    QCOMPARE(written(), "(none)");
}

void TestDownloadFile::aFileThatCannotBeMadeIsNoError_data()
{
    QTest::addColumn<QString>("closed");
    QTest::newRow("a support folder that refuses") << u"data/WayfarInstaller"_s;
    QTest::newRow("a support folder that can't be made") << u"data"_s;
}

void TestDownloadFile::aFileThatCannotBeMadeIsNoError()
{
    QFETCH(const QString, closed);
    QVERIFY(QDir().mkpath(m_world->path(closed)));
    QVERIFY(QFile::setPermissions(m_world->path(closed), QFile::Permissions(0x5555)));
    const OrdinaryUser user;
    QVERIFY(!QFile(m_world->path(closed + u"/try"_s)).open(QIODevice::WriteOnly));
    DownloadFile file;
    file.remove();
    file.begin(4);
    QCOMPARE(file.append("abcd"), 100);
    QCOMPARE(written(), "(none)");
    QVERIFY(!QFile::exists(u"/download.zip"_s));
}

QTEST_GUILESS_MAIN(TestDownloadFile)
#include "TestDownloadFile.moc"
