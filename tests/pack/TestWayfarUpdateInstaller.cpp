#include "pack/WayfarUpdateInstaller.h"

#include "places/Preferences.h"
#include "support/Answers.h"
#include "support/TestWorld.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
class RecordingDelegate : public UpdateDownloadDelegate
{
public:
    void downloadProgressUpdate(double percentage) override
    {
        percentages.append(percentage);
        if (atProgress)
            atProgress();
    }
    void downloadFinishedWithResult(bool result) override { results.append(result); }

    QList<double> percentages;
    QList<bool> results;
    std::function<void()> atProgress;
};
} // namespace

class TestWayfarUpdateInstaller : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theStoredAccountIsPosted_data();
    void theStoredAccountIsPosted();
    void theArchiveIsTheBodyByteForByte();
    void everyPieceIsReportedInWholePercents();
    void withoutALengthThePercentagesAreNegative();
    void aBodyWithoutBytesGivesAnEmptyArchiveAndNoReport();
    void anAnswerOfAnyStatusIsSavedAndEndsWell_data();
    void anAnswerOfAnyStatusIsSavedAndEndsWell();
    void theReportFollowsTheWriteOfItsPiece();

    void theOldArchiveIsGoneWhenTheStartHasReturned();
    void theOldArchiveIsGoneAlsoWhenTheDownloadFailsBeforeItsResponse_data();
    void theOldArchiveIsGoneAlsoWhenTheDownloadFailsBeforeItsResponse();
    void aConnectionLostInTheBodyLeavesThePartialArchive();
    void anArchiveThatCannotBeWrittenIsDroppedInSilence_data();
    void anArchiveThatCannotBeWrittenIsDroppedInSilence();
    void withoutADelegateTheReportsAreSkipped_data();
    void withoutADelegateTheReportsAreSkipped();
    void theRunningTransferKeepsTheInstaller();

    void thePercentageIsTruncated_data();
    void thePercentageIsTruncated();
    void aFurtherResponseStartsAfresh();
    void aPieceForAMissingArchiveIsLost();
    void theCountersAreZeroBeforeTheFirstResponse();

private:
    QString archive() const { return m_world->archive(); }
    void answer(const VendorAnswer &answer) { m_world->vendor().setAnswer("/api/dlGuide", answer); }
    void makeInstaller(); // with the world's loader of now
    // Runs the download to its end; true when there was exactly one.
    bool download();

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<RecordingDelegate> m_delegate;
    std::shared_ptr<WayfarUpdateInstaller> m_installer;
};

void TestWayfarUpdateInstaller::init()
{
    m_world = std::make_unique<TestWorld>();
    m_delegate = std::make_unique<RecordingDelegate>();
    makeInstaller();
}

void TestWayfarUpdateInstaller::cleanup()
{
    m_installer.reset();
    m_world.reset();
    m_delegate.reset();
}

void TestWayfarUpdateInstaller::makeInstaller()
{
    m_installer = std::make_shared<WayfarUpdateInstaller>(m_world->defaults(), m_world->loader(), m_world->site());
    m_installer->setDelegate(m_delegate.get());
}

bool TestWayfarUpdateInstaller::download()
{
    m_installer->downloadUpdate();
    return m_delegate->results.isEmpty() && QTest::qWaitFor([this] { return !m_delegate->results.isEmpty(); }, 10000)
        && m_delegate->results.size() == 1;
}

void TestWayfarUpdateInstaller::theStoredAccountIsPosted_data()
{
    QTest::addColumn<std::optional<QString>>("user");
    QTest::addColumn<std::optional<QString>>("password");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("length");
    const auto row = [](const char *name, const std::optional<QString> &user, const std::optional<QString> &password,
                        const QByteArray &body,
                        const QByteArray &length) { QTest::newRow(name) << user << password << body << length; };
    row("blank in the name", u"a b"_s, u"x"_s, "user=a%20b&pass=x", "17");
    row("plus and ampersand as they are", u"ann"_s, u"1+1&c=d"_s, "user=ann&pass=1+1&c=d", "21");
    row("no ASCII", u"ann"_s, u"süß€"_s, "user=ann&pass=s%C3%BC%C3%9F%E2%82%AC", "36");
    row("no password", u"ann"_s, std::nullopt, "user=ann", "8");
    row("no name", std::nullopt, u"key"_s, "", "0");
    row("no account", std::nullopt, std::nullopt, "", "0");
}

void TestWayfarUpdateInstaller::theStoredAccountIsPosted()
{
    QFETCH(const std::optional<QString>, user);
    QFETCH(const std::optional<QString>, password);
    QFETCH(const QByteArray, length);
    if (user)
        m_world->defaults().setObject(Preferences::userName.key, *user);
    if (password)
        m_world->defaults().setObject(Preferences::password.key, *password);
    answer(answerWith("whatever the vendor says"));
    QVERIFY(download());

    QCOMPARE(m_world->vendor().requests().size(), 1);
    const VendorRequest request = m_world->vendor().requests().constFirst();
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.path, "/api/dlGuide");
    QCOMPARE(request.host, "wayfar.example");
    QCOMPARE(request.header("Content-Type"),
             std::optional<QByteArray>("application/x-www-form-urlencoded charset=utf-8"));
    QCOMPARE(request.header("Content-Length"), std::optional(length));
    QCOMPARE(request.headerCount("Content-Length"), 1);
    QTEST(request.body, "body");
    QCOMPARE(m_delegate->results, QList<bool>{true});
    QCOMPARE(m_world->read(archive()), "whatever the vendor says");
}

void TestWayfarUpdateInstaller::theArchiveIsTheBodyByteForByte()
{
    const QByteArray pack = m_world->zip({{u"Trailbook/Trailbook.toc"_s, QByteArray("## Version: 2\r\n\0\xff", 17)}});
    m_world->vendor().addAccount(u"ann"_s, u"key"_s, "page");
    m_world->vendor().setPack(pack);
    m_world->defaults().setObject(Preferences::userName.key, u"ann"_s);
    m_world->defaults().setObject(Preferences::password.key, u"key"_s);
    QVERIFY(download());
    QVERIFY(pack.startsWith("PK"));
    QCOMPARE(m_world->read(archive()), pack);
    QCOMPARE(m_installer->totalSize(), pack.size());
    QCOMPARE(m_installer->totalDownloaded(), pack.size());
}

void TestWayfarUpdateInstaller::everyPieceIsReportedInWholePercents()
{
    VendorAnswer pieces = answerWith(QByteArray(1000, 'x'));
    pieces.pieces = {333, 333, 334};
    pieces.stepped = true;
    answer(pieces);
    m_delegate->atProgress = [this] { m_world->vendor().step(); };
    QVERIFY(download());
    QCOMPARE(m_delegate->percentages, (QList<double>{33, 66, 100}));
    QCOMPARE(m_delegate->results, QList<bool>{true});
}

void TestWayfarUpdateInstaller::withoutALengthThePercentagesAreNegative()
{
    VendorAnswer pieces = answerOf(VendorAnswer::Length::Absent, "0123456789abc");
    pieces.pieces = {10, 3};
    pieces.stepped = true;
    answer(pieces);
    m_delegate->atProgress = [this] { m_world->vendor().step(); };
    QVERIFY(download());
    QCOMPARE(m_delegate->percentages, (QList<double>{-1000, -1300}));
    QCOMPARE(m_delegate->results, QList<bool>{true});
    QCOMPARE(m_installer->totalSize(), -1);
    QCOMPARE(m_world->read(archive()), "0123456789abc");
}

void TestWayfarUpdateInstaller::aBodyWithoutBytesGivesAnEmptyArchiveAndNoReport()
{
    m_world->write(archive(), "old");
    answer(answerWith({}));
    QVERIFY(download());
    QVERIFY(m_delegate->percentages.isEmpty());
    QCOMPARE(m_delegate->results, QList<bool>{true});
    QVERIFY(QFileInfo::exists(archive()));
    QCOMPARE(QFileInfo(archive()).size(), 0);
}

void TestWayfarUpdateInstaller::anAnswerOfAnyStatusIsSavedAndEndsWell_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {200, 302, 401, 403, 404, 500, 503})
        QTest::addRow("%d", status) << status;
}

void TestWayfarUpdateInstaller::anAnswerOfAnyStatusIsSavedAndEndsWell()
{
    QFETCH(const int, status);
    VendorAnswer page = answerWith("Error|no archive at all");
    page.status = status;
    answer(page);
    QVERIFY(download());
    QCOMPARE(m_delegate->results, QList<bool>{true});
    QCOMPARE(m_world->read(archive()), "Error|no archive at all");
}

void TestWayfarUpdateInstaller::theReportFollowsTheWriteOfItsPiece()
{
    VendorAnswer pieces = answerWith("abcdef");
    pieces.pieces = {1, 2, 3};
    pieces.stepped = true;
    answer(pieces);
    QList<QByteArray> written;
    QList<qint64> counted;
    m_delegate->atProgress = [&] {
        written.append(m_world->read(archive()));
        counted.append(m_installer->totalDownloaded());
        m_world->vendor().step();
    };
    QVERIFY(download());
    QCOMPARE(written, (QList<QByteArray>{"a", "abc", "abcdef"}));
    QCOMPARE(counted, (QList<qint64>{1, 3, 6}));
}

void TestWayfarUpdateInstaller::theOldArchiveIsGoneWhenTheStartHasReturned()
{
    m_world->write(archive(), "old");
    answer(answerWith("new"));
    m_installer->downloadUpdate();
    QVERIFY(!QFileInfo::exists(archive()));
    QVERIFY(m_delegate->results.isEmpty());
    QTRY_COMPARE(m_delegate->results, QList<bool>{true});
    QCOMPARE(m_world->read(archive()), "new");
}

void TestWayfarUpdateInstaller::theOldArchiveIsGoneAlsoWhenTheDownloadFailsBeforeItsResponse_data()
{
    QTest::addColumn<std::function<void(TestWorld &)>>("prepare");
    const auto row = [](const char *name, const std::function<void(TestWorld &)> &prepare) {
        QTest::newRow(name) << prepare;
    };
    row("no connection", [](TestWorld &world) { world.goOffline(); });
    row("connection lost", [](TestWorld &world) {
        VendorAnswer lost;
        lost.resetAfter = -1;
        world.vendor().setAnswer("/api/dlGuide", lost);
    });
    row("time-out", [](TestWorld &world) {
        VendorAnswer silent;
        silent.stallAfter = -1;
        world.vendor().setAnswer("/api/dlGuide", silent);
        world.useVendor(networkOf(world.vendor(), 1));
    });
    row("vendor not trusted", [](TestWorld &world) {
        world.useVendor({.connectTo = world.vendor().connectTo()}); // with the system's authorities
    });
}

void TestWayfarUpdateInstaller::theOldArchiveIsGoneAlsoWhenTheDownloadFailsBeforeItsResponse()
{
    QFETCH(const std::function<void(TestWorld &)>, prepare);
    m_world->write(archive(), "old");
    prepare(*m_world);
    makeInstaller();
    QVERIFY(download());
    QCOMPARE(m_delegate->results, QList<bool>{false});
    QVERIFY(m_delegate->percentages.isEmpty());
    QVERIFY(!QFileInfo::exists(archive()));
}

void TestWayfarUpdateInstaller::aConnectionLostInTheBodyLeavesThePartialArchive()
{
    VendorAnswer lost = answerWith("abcdefghij");
    lost.resetAfter = 4;
    answer(lost);
    QVERIFY(download());
    QCOMPARE(m_delegate->percentages, QList<double>{40});
    QCOMPARE(m_delegate->results, QList<bool>{false});
    QCOMPARE(m_world->read(archive()), "abcd");
}

void TestWayfarUpdateInstaller::anArchiveThatCannotBeWrittenIsDroppedInSilence_data()
{
    QTest::addColumn<QString>("place");
    QTest::newRow("a support folder that refuses") << u"data/WayfarInstaller"_s;
    QTest::newRow("a support folder that can't be made") << u"data"_s;
}

void TestWayfarUpdateInstaller::anArchiveThatCannotBeWrittenIsDroppedInSilence()
{
    QFETCH(const QString, place);
    QVERIFY(QDir().mkpath(m_world->path(place)));
    QVERIFY(QFile::setPermissions(m_world->path(place), QFile::Permissions(0x5555)));
    answer(answerWith("abcd"));
    const QString authority = m_world->path(u"authority.pem"_s); // one that an ordinary user may read
    m_world->write(authority, m_world->read(m_world->vendor().caFile()));
    m_world->useVendor({.caFile = authority, .connectTo = m_world->vendor().connectTo()});
    makeInstaller();
    const OrdinaryUser user;
    QVERIFY(!QFile(m_world->path(place) + u"/try"_s).open(QIODevice::WriteOnly));
    QVERIFY(download());
    QCOMPARE(m_delegate->percentages, QList<double>{100});
    QCOMPARE(m_delegate->results, QList<bool>{true});
    QVERIFY(!QFileInfo::exists(archive()));
    QVERIFY(!QFileInfo::exists(u"/download.zip"_s));
}

void TestWayfarUpdateInstaller::withoutADelegateTheReportsAreSkipped_data()
{
    QTest::addColumn<bool>("good");
    QTest::addColumn<QByteArray>("saved");
    QTest::newRow("good end") << true << QByteArray("abcd");
    QTest::newRow("bad end") << false << QByteArray("ab");
}

void TestWayfarUpdateInstaller::withoutADelegateTheReportsAreSkipped()
{
    QFETCH(const bool, good);
    VendorAnswer body = answerWith("abcd");
    if (!good)
        body.resetAfter = 2;
    answer(body);
    QCOMPARE(m_installer->delegate(), m_delegate.get());
    m_installer->setDelegate(nullptr);
    m_installer->downloadUpdate();
    QTRY_COMPARE(m_installer.use_count(), 1); // the transfer is over
    QTEST(m_world->read(archive()), "saved");
}

void TestWayfarUpdateInstaller::theRunningTransferKeepsTheInstaller()
{
    answer(answerWith("abcd"));
    m_installer->downloadUpdate();
    const std::weak_ptr<WayfarUpdateInstaller> watched = m_installer;
    m_installer.reset();
    QVERIFY(!watched.expired());
    QTRY_COMPARE(m_delegate->results, QList<bool>{true});
    QTRY_VERIFY(watched.expired());
    QCOMPARE(m_world->read(archive()), "abcd");
}

void TestWayfarUpdateInstaller::thePercentageIsTruncated_data()
{
    QTest::addColumn<qint64>("announced");
    QTest::addColumn<int>("received");
    QTest::addColumn<double>("percentage");
    const auto row = [](const char *name, qint64 announced, int received, double percentage) {
        QTest::newRow(name) << announced << received << percentage;
    };
    row("a third", 3, 1, 33);
    row("two thirds", 3, 2, 66);
    row("nearly all", 200, 199, 99);
    row("nearly nothing", 1000, 9, 0);
    row("all", 1, 1, 100);
    row("more than announced", 10, 15, 150);
    row("announced as nothing", 0, 15, 0);
    row("not announced", -1, 10, -1000);
    row("longer than 32 bits count", qint64(5) << 32, 1, 0);
}

void TestWayfarUpdateInstaller::thePercentageIsTruncated()
{
    QFETCH(const qint64, announced);
    QFETCH(const int, received);
    QFETCH(const double, percentage);
    m_installer->connectionDidReceiveResponse(announced);
    m_installer->connectionDidReceiveData(QByteArray(received, 'x'));
    QCOMPARE(m_delegate->percentages, QList<double>{percentage});
    QCOMPARE(m_installer->totalSize(), announced);
    QCOMPARE(m_installer->totalDownloaded(), received);
}

void TestWayfarUpdateInstaller::aFurtherResponseStartsAfresh()
{
    m_installer->connectionDidReceiveResponse(10);
    m_installer->connectionDidReceiveData("abcde");
    m_installer->connectionDidReceiveResponse(4);
    QCOMPARE(m_installer->totalSize(), 4);
    QCOMPARE(m_installer->totalDownloaded(), 0);
    QVERIFY(QFileInfo::exists(archive()));
    QCOMPARE(m_world->read(archive()), "");
    m_installer->connectionDidReceiveData("xyz");
    QCOMPARE(m_delegate->percentages, (QList<double>{50, 75}));
    QCOMPARE(m_world->read(archive()), "xyz");
}

void TestWayfarUpdateInstaller::aPieceForAMissingArchiveIsLost()
{
    m_installer->connectionDidReceiveResponse(4);
    QVERIFY(QFile::remove(archive()));
    m_installer->connectionDidReceiveData("ab");
    QVERIFY(!QFileInfo::exists(archive()));
    m_installer->connectionDidReceiveData("cd");
    m_installer->connectionDidFinishLoading();
    QCOMPARE(m_delegate->percentages, (QList<double>{50, 100}));
    QCOMPARE(m_delegate->results, QList<bool>{true});
    QVERIFY(!QFileInfo::exists(archive()));
}

void TestWayfarUpdateInstaller::theCountersAreZeroBeforeTheFirstResponse()
{
    QCOMPARE(m_installer->totalSize(), 0);
    QCOMPARE(m_installer->totalDownloaded(), 0);
}

QTEST_GUILESS_MAIN(TestWayfarUpdateInstaller)
#include "TestWayfarUpdateInstaller.moc"
