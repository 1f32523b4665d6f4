#include "support/Answers.h"
#include "support/InstallerDownload.h"

#include <QFile>

using namespace Qt::StringLiterals;

class TestInstallerDownload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_download = std::make_unique<InstallerDownload>(); }
    void cleanup() { m_download.reset(); }

    void theArchiveIsFetchedByAPlainGetFromTheDownloadHost();
    void theCallIsAlwaysWellAndLeavesTheFlag_data();
    void theCallIsAlwaysWellAndLeavesTheFlag();
    void itsWindowOpensWithTheVersionAndAnEmptyBar();
    void theOldArchiveGoesAtOnceAndIsAnEmptyFileFromTheResponse();
    void thePercentageMovesInWholeSteps();
    void thePercentageIsTruncated_data();
    void thePercentageIsTruncated();
    void withoutALengthTheFileIsStillWrittenAndReported_data();
    void withoutALengthTheFileIsStillWrittenAndReported();
    void moreThanAnnouncedIsCutOff();
    void aLengthOfZeroWithDataShowsZero();
    void anErrorPageIsSavedAndReportedAsDone_data();
    void anErrorPageIsSavedAndReportedAsDone();
    void everyByteArrives();
    void aSecondResponseStartsAfresh();
    void theRunningTransferKeepsTheUpgrade();

private:
    TestWorld &world() { return m_download->world; }
    InstallerUpgrade &upgrade() { return *m_download->upgrade; }

    std::unique_ptr<InstallerDownload> m_download;
};

void TestInstallerDownload::theArchiveIsFetchedByAPlainGetFromTheDownloadHost()
{
    m_download->answer(answerWith("PK"));
    m_download->start();
    QVERIFY(m_download->waitForResult());
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(world().vendor().requests().size(), 1);
    const VendorRequest request = world().vendor().requests().constFirst();
    QCOMPARE(request.method, "GET");
    QCOMPARE(request.path, "/WayfarRoutes_1.3.0.zip");
    QCOMPARE(request.host, "download.wayfar.example");
    QCOMPARE(request.body, QByteArray());
    QVERIFY(!request.header("Content-Type"));
    QVERIFY(!request.header("Authorization"));
}

void TestInstallerDownload::theCallIsAlwaysWellAndLeavesTheFlag_data()
{
    QTest::addColumn<bool>("offline");
    QTest::newRow("vendor there") << false;
    QTest::newRow("vendor away") << true;
}

void TestInstallerDownload::theCallIsAlwaysWellAndLeavesTheFlag()
{
    QFETCH(const bool, offline);
    m_download->answer(answerWith("PK"));
    const auto upgrade = [&] {
        if (offline)
            world().goOffline();
        return m_download->newUpgrade();
    }();
    upgrade->setDelegate(m_download.get());
    for (const bool before : {false, true}) {
        bool flag = before;
        m_download->results.clear();
        QVERIFY(upgrade->upgrade(&flag, u"1.3.0"_s));
        QVERIFY(m_download->results.isEmpty()); // not from inside the call
        QVERIFY(m_download->waitForResult());
        QCOMPARE(flag, before);
        QCOMPARE(m_download->results, QList<bool>{!offline});
    }
}

void TestInstallerDownload::itsWindowOpensWithTheVersionAndAnEmptyBar()
{
    m_download->answer(answerWith("PK"));
    m_download->start();
    QVERIFY(m_download->window().isOpen);
    QCOMPARE(upgrade().downloadText(), u"Downloading version 1.3.0"_s);
    QCOMPARE(m_download->window().text, u"Downloading version 1.3.0"_s);
    QCOMPARE(m_download->window().percentage, 0.0);
    QVERIFY(m_download->waitForResult());
}

void TestInstallerDownload::theOldArchiveGoesAtOnceAndIsAnEmptyFileFromTheResponse()
{
    world().write(world().archive(), "of an earlier run");
    VendorAnswer answer = answerWith("new");
    answer.stallAfter = 0;
    m_download->answer(answer);
    m_download->start();
    QCOMPARE(upgrade().progress(), 0.0);
    QVERIFY(!QFile::exists(world().archive()));
    QTRY_VERIFY(QFile::exists(world().archive()));
    QCOMPARE(world().read(world().archive()), QByteArray());
    QCOMPARE(upgrade().totalSize(), qint64(3));
    world().vendor().step();
    QVERIFY(m_download->waitForResult());
    QCOMPARE(world().read(world().archive()), "new");
}

void TestInstallerDownload::thePercentageMovesInWholeSteps()
{
    VendorAnswer answer = answerWith(QByteArray(1000, 'z'));
    answer.pieces = {333, 333, 334};
    answer.stepped = true;
    m_download->answer(answer);
    m_download->start();
    for (const int percentage : {33, 66, 100}) {
        QTRY_COMPARE(upgrade().progress(), double(percentage));
        QCOMPARE(m_download->window().percentage, percentage);
        QCOMPARE(world().read(world().archive()).size(), upgrade().totalDownloaded()); // each piece is on the disk
        world().vendor().step();
    }
    QVERIFY(m_download->waitForResult());
    QCOMPARE(upgrade().totalDownloaded(), qint64(1000));
    QCOMPARE(upgrade().progress(), 100.0);
}

void TestInstallerDownload::thePercentageIsTruncated_data()
{
    QTest::addColumn<qint64>("announced");
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<double>("progress");
    QTest::newRow("not yet one") << qint64(1000) << qsizetype(9) << 0.0;
    QTest::newRow("one") << qint64(1000) << qsizetype(10) << 1.0;
    QTest::newRow("two thirds") << qint64(3) << qsizetype(2) << 66.0;
    QTest::newRow("all but one byte") << qint64(1000) << qsizetype(999) << 99.0;
    QTest::newRow("more than announced") << qint64(2) << qsizetype(3) << 150.0;
    QTest::newRow("no length") << qint64(-1) << qsizetype(7) << -700.0;
    QTest::newRow("a length of zero") << qint64(0) << qsizetype(7) << 0.0;
    QTest::newRow("beyond 32 bits") << (qint64(1) << 40) << qsizetype(1 << 20) << 0.0;
}

void TestInstallerDownload::thePercentageIsTruncated()
{
    QFETCH(const qint64, announced);
    QFETCH(const qsizetype, size);
    upgrade().connectionDidReceiveResponse(announced);
    upgrade().connectionDidReceiveData(QByteArray(size, 'z'));
    QTEST(upgrade().progress(), "progress");
    QCOMPARE(upgrade().totalSize(), announced);
    QCOMPARE(upgrade().totalDownloaded(), qint64(size));
}

void TestInstallerDownload::withoutALengthTheFileIsStillWrittenAndReported_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::newRow("until the connection ends") << VendorAnswer::Length::Absent;
    QTest::newRow("chunked") << VendorAnswer::Length::Chunked;
}

void TestInstallerDownload::withoutALengthTheFileIsStillWrittenAndReported()
{
    QFETCH(const VendorAnswer::Length, length);
    m_download->answer(answerOf(length, "seven b"));
    m_download->start();
    QVERIFY(m_download->waitForResult());
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(upgrade().totalSize(), qint64(-1));
    QCOMPARE(upgrade().progress(), -700.0);
    QCOMPARE(m_download->window().percentage, -700.0);
    QCOMPARE(world().read(world().archive()), "seven b");
}

void TestInstallerDownload::moreThanAnnouncedIsCutOff()
{
    VendorAnswer answer = answerWith("seven b");
    answer.announcedLength = 5;
    m_download->answer(answer);
    m_download->start();
    QVERIFY(m_download->waitForResult());
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(upgrade().progress(), 100.0);
    QCOMPARE(world().read(world().archive()), "seven");
}

void TestInstallerDownload::aLengthOfZeroWithDataShowsZero()
{
    VendorAnswer answer = answerWith("seven b");
    answer.announcedLength = 0;
    m_download->answer(answer);
    m_download->start();
    QVERIFY(m_download->waitForResult());
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(upgrade().totalSize(), qint64(0));
    upgrade().connectionDidReceiveData("seven b"); // what the transfer itself never hands on
    QCOMPARE(upgrade().totalDownloaded(), qint64(7));
    QCOMPARE(upgrade().progress(), 0.0);
    QCOMPARE(m_download->window().percentage, 0);
    QCOMPARE(world().read(world().archive()), "seven b");
}

void TestInstallerDownload::anErrorPageIsSavedAndReportedAsDone_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {401, 404, 410, 500, 503})
        QTest::addRow("%d", status) << status;
}

void TestInstallerDownload::anErrorPageIsSavedAndReportedAsDone()
{
    QFETCH(const int, status);
    VendorAnswer page = answerWith("<h1>Sorry</h1>");
    page.status = status;
    m_download->answer(page);
    m_download->start();
    QVERIFY(m_download->waitForResult());
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(world().read(world().archive()), "<h1>Sorry</h1>");
}

void TestInstallerDownload::everyByteArrives()
{
    const QByteArray noise = [] {
        QByteArray bytes;
        for (int i = 0; i < 300000; ++i)
            bytes.append(char(i * 31 % 251));
        return bytes;
    }();
    m_download->answer(answerWith(noise));
    m_download->start();
    QVERIFY(m_download->waitForResult());
    QVERIFY(world().read(world().archive()) == noise);
}

void TestInstallerDownload::aSecondResponseStartsAfresh()
{
    upgrade().connectionDidReceiveResponse(10);
    upgrade().connectionDidReceiveData("first");
    upgrade().connectionDidReceiveResponse(20);
    QCOMPARE(upgrade().totalDownloaded(), qint64(0));
    QCOMPARE(world().read(world().archive()), QByteArray());
    upgrade().connectionDidReceiveData("again");
    QCOMPARE(upgrade().progress(), 25.0);
    QCOMPARE(world().read(world().archive()), "again");
}

void TestInstallerDownload::theRunningTransferKeepsTheUpgrade()
{
    VendorAnswer answer = answerWith("PK");
    answer.stallAfter = 0;
    m_download->answer(answer);
    m_download->start();
    QTRY_COMPARE(upgrade().totalSize(), qint64(2));
    const std::weak_ptr<InstallerUpgrade> kept = m_download->upgrade;
    m_download->upgrade.reset();
    QVERIFY(!kept.expired());
    world().vendor().step();
    QVERIFY(m_download->waitForResult());
    QTRY_VERIFY(kept.expired());
}

QTEST_MAIN(TestInstallerDownload)
#include "TestInstallerDownload.moc"
