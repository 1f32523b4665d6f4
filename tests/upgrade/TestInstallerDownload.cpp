#include "support/InstallerDownload.h"
#include "support/Outages.h"

#include <QFile>

using namespace Qt::StringLiterals;

// What is done with the pieces is TestDownloadFile's.
class TestInstallerDownload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_download = std::make_unique<InstallerDownload>(); }
    void cleanup() { m_download.reset(); }

    void theArchiveIsFetchedByAPlainGetFromTheDownloadHost();
    void itsWindowOpensWithTheVersionAndAnEmptyBar();
    void theOldArchiveGoesAtOnceAndIsAnEmptyFileFromTheResponse();
    void aPieceShowsInWholePercentsWhenItIsWritten();
    void anyCompleteAnswerIsSavedAndReportedAsDone_data();
    void anyCompleteAnswerIsSavedAndReportedAsDone();
    void anOutageFailsOnceAndLeavesTheWindowOpen_data();
    void anOutageFailsOnceAndLeavesTheWindowOpen();
    void anAddressThatIsNoneFailsFromTheEventLoop_data();
    void anAddressThatIsNoneFailsFromTheEventLoop();
    void withoutASupportFolderTheResultIsTheTransfers();
    void theTransferKeepsTheUpgradeAndNeedsNoDelegate_data();
    void theTransferKeepsTheUpgradeAndNeedsNoDelegate();

private:
    TestWorld &world() { return m_download->world; }
    InstallerUpgrade &upgrade() { return *m_download->upgrade; }
    RecordingProgressWindow &window() { return m_download->window(); }
    QByteArray archived() { return world().read(world().archive()); }

    std::unique_ptr<InstallerDownload> m_download;
};

void TestInstallerDownload::theArchiveIsFetchedByAPlainGetFromTheDownloadHost()
{
    const QByteArray noise = [] {
        QByteArray bytes;
        for (int i = 0; i < 300000; ++i)
            bytes.append(char(i * 31 % 251));
        return bytes;
    }();
    m_download->answer(answerWith(noise));
    for (const bool flag : {false, true}) {
        m_download->flag = flag;
        m_download->results.clear();
        QVERIFY(m_download->run());
        QCOMPARE(m_download->flag, flag);
        QCOMPARE(m_download->results, QList<bool>{true});
        QVERIFY(archived() == noise);
    }
    const QByteArray asked = "GET download.wayfar.example/WayfarRoutes_1.3.0.zip";
    QCOMPARE(askedOf(world().vendor()), (QList<QByteArray>{asked, asked}));
    const VendorRequest request = world().vendor().requests().constFirst();
    QVERIFY(!request.header("Content-Type"));
    QVERIFY(!request.header("Authorization"));
}

void TestInstallerDownload::itsWindowOpensWithTheVersionAndAnEmptyBar()
{
    m_download->answer(answerWith("PK"));
    m_download->start();
    QVERIFY(window().isOpen);
    QCOMPARE(upgrade().downloadText(), u"Downloading version 1.3.0"_s);
    QCOMPARE(window().text, u"Downloading version 1.3.0"_s);
    QCOMPARE(window().percentage, 0.0);
    QVERIFY(m_download->waitForResult());
}

void TestInstallerDownload::theOldArchiveGoesAtOnceAndIsAnEmptyFileFromTheResponse()
{
    world().write(world().archive(), "of an earlier run");
    m_download->answer(silentAfter(0, "new"));
    m_download->start();
    QVERIFY(!QFile::exists(world().archive()));
    QTRY_VERIFY(QFile::exists(world().archive()));
    QCOMPARE(archived(), QByteArray());
    QCOMPARE(upgrade().totalSize(), qint64(3));
    world().vendor().step();
    QVERIFY(m_download->waitForResult());
    QCOMPARE(archived(), "new");
}

void TestInstallerDownload::aPieceShowsInWholePercentsWhenItIsWritten()
{
    m_download->answer(inSteps(answerWith(QByteArray(1000, 'z')), {333, 333, 334}));
    m_download->start();
    for (const int percentage : {33, 66, 100}) {
        QTRY_COMPARE(upgrade().progress(), double(percentage));
        QCOMPARE(window().percentage, percentage);
        QCOMPARE(archived().size(), upgrade().totalDownloaded());
        world().vendor().step();
    }
    QVERIFY(m_download->waitForResult());
    QCOMPARE(upgrade().totalDownloaded(), qint64(1000));
}

void TestInstallerDownload::anyCompleteAnswerIsSavedAndReportedAsDone_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::addColumn<QByteArray>("saved");
    QTest::addColumn<double>("progress");
    using Length = VendorAnswer::Length;
    const auto row = [](const char *name, const VendorAnswer &answer, const QByteArray &saved, double progress) {
        QTest::newRow(name) << answer << saved << progress;
    };
    for (const int status : {401, 404, 500})
        row(QByteArray::number(status).constData(), answerWith("<h1>Sorry</h1>", status), "<h1>Sorry</h1>", 100);
    row("until the connection ends", answerOf(Length::Absent, "seven b"), "seven b", -700);
    row("chunked", answerOf(Length::Chunked, "seven b"), "seven b", -700);
    row("longer than announced", announcing(5, "seven b"), "seven", 100);
    row("announced as nothing", announcing(0, "seven b"), "", 0);
}

void TestInstallerDownload::anyCompleteAnswerIsSavedAndReportedAsDone()
{
    QFETCH(const VendorAnswer, answer);
    m_download->answer(answer);
    QVERIFY(m_download->run());
    QCOMPARE(m_download->results, QList<bool>{true});
    QTEST(archived(), "saved");
    QTEST(upgrade().progress(), "progress");
    QTEST(window().percentage, "progress");
}

void TestInstallerDownload::anOutageFailsOnceAndLeavesTheWindowOpen_data()
{
    addOutages("abcdef");
    QTest::newRow("broken in a chunk") << Outage{[](TestWorld &world, const QByteArray &path) {
                                                     VendorAnswer answer = brokenAfter(4, "abcdef");
                                                     answer.length = VendorAnswer::Length::Chunked;
                                                     world.vendor().setAnswer(path, answer);
                                                 },
                                                 "abcd"};
}

void TestInstallerDownload::anOutageFailsOnceAndLeavesTheWindowOpen()
{
    QFETCH(const Outage, outage);
    world().write(world().archive(), "of an earlier run");
    outage.strike(world(), InstallerDownload::remotePath);
    m_download->useLoader();
    QVERIFY(m_download->run());
    QCOMPARE(m_download->results, QList<bool>{false});
    QVERIFY(window().isOpen);
    QCOMPARE(archived(), outage.arrived.value_or(""));
    QCOMPARE(QFile::exists(world().archive()), outage.arrived.has_value());
}

void TestInstallerDownload::anAddressThatIsNoneFailsFromTheEventLoop_data()
{
    QTest::addColumn<QString>("version");
    QTest::newRow("a line end") << u"1.3.0\n"_s;
    QTest::newRow("a blank") << u"1.3 0"_s;
    QTest::newRow("an error page") << u"<html>\r\n<h1>Not Found</h1>\r\n</html>\r\n"_s;
}

void TestInstallerDownload::anAddressThatIsNoneFailsFromTheEventLoop()
{
    QFETCH(const QString, version);
    QVERIFY(m_download->start(version));
    QVERIFY(m_download->results.isEmpty());
    QCOMPARE(upgrade().downloadText(), u"Downloading version "_s + version);
    QVERIFY(m_download->waitForResult());
    QCOMPARE(m_download->results, QList<bool>{false});
    QVERIFY(window().isOpen);
    QVERIFY(world().vendor().requests().isEmpty());
}

void TestInstallerDownload::withoutASupportFolderTheResultIsTheTransfers()
{
    world().write(world().path(u"data"_s), "a file where the folder should be");
    m_download->answer(answerWith("abcdef"));
    const QByteArray log = standardErrorOf([this] { QVERIFY(m_download->run()); });
    QVERIFY(log.contains("Unable to find or create application support directory:"));
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(upgrade().progress(), 100.0);
}

void TestInstallerDownload::theTransferKeepsTheUpgradeAndNeedsNoDelegate_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::addColumn<QByteArray>("saved");
    QTest::newRow("finished") << answerWith("abcdef") << QByteArray("abcdef");
    QTest::newRow("broken") << brokenAfter(3, "abcdef") << QByteArray("abc");
}

void TestInstallerDownload::theTransferKeepsTheUpgradeAndNeedsNoDelegate()
{
    QFETCH(const VendorAnswer, answer);
    m_download->answer(answer);
    upgrade().setDelegate(nullptr);
    m_download->start();
    const std::weak_ptr<InstallerUpgrade> kept = m_download->upgrade;
    m_download->upgrade.reset();
    QVERIFY(!kept.expired());
    QTRY_VERIFY(kept.expired()); // the transfer is over
    QVERIFY(m_download->results.isEmpty());
    QTEST(archived(), "saved");
}

QTEST_GUILESS_MAIN(TestInstallerDownload)
#include "TestInstallerDownload.moc"
