#include "support/Answers.h"
#include "support/Program.h"
#include "support/Replacement.h"
#include "support/Tree.h"

#include "upgrade/InstallerUpgrade.h"
#include "windows/InstallerDownloadWindow.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray remotePath = "/WayfarRoutes_1.3.0.zip";
const QString outcomeFailed = u"Wayfar Installer failed to make changes. Reason %1\nApplication will quit now."_s;
const QString downloadFailed =
    u"Wayfer Installer failed to download installer update. Installer will quit. Please retry and contact Wayfar "
    "support if problem persists."_s;
} // namespace

// From the yes to the end: the download of an installer, its replacement, and how the program ends after either.
class TestUpgradeOutcomes : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void theDownloadedBundleReplacesTheRunningOne();
    void theReplacementDecidesOnTheEnd_data();
    void theReplacementDecidesOnTheEnd();
    void withoutASupportFolderItEndsInOrder();
    void aBrokenDownloadEndsWithStatus1();
    void closingTheWindowByHandStopsNothing();
    void everyVersionTextEndsWell_data();
    void everyVersionTextEndsWell();

private:
    InstallerDownloadWindow &window()
    {
        return dynamic_cast<InstallerDownloadWindow &>(*delegate().upgrade()->progressWindow());
    }
    // The start-up's first step, with a yes; on this thread and without the main window.
    void accept(const QByteArray &version = "1.3.0")
    {
        m_world->vendor().setInstallerVersion(version);
        standardErrorOf([this] { QVERIFY(delegate().checkInstallerUpdate()); });
        QVERIFY(window().isVisible());
        m_program->alert.shown.clear(); // the question
    }
    bool waitForTheEnd()
    {
        return QTest::qWaitFor([this] { return m_program->exitStatus || m_program->terminations > 0; }, 10000);
    }
    void verifyEndedInOrder()
    {
        QCOMPARE(m_program->terminations, 1);
        QCOMPARE(m_program->exitStatus, std::optional<int>());
        QCOMPARE(m_program->alert.told(), QStringList());
    }
    QString applications() const { return m_world->path(u"applications"_s); }
    QString bundle(const QString &version = u"1.3.0"_s) const
    {
        return applications() + u'/' + Replacement::nameOf(version);
    }
};

void TestUpgradeOutcomes::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->write(bundle(u"1.2.6"_s) + u"/AppRun"_s, "#!/bin/sh\n");
    m_program = std::make_unique<Program>(*m_world);
}

void TestUpgradeOutcomes::theDownloadedBundleReplacesTheRunningOne()
{
    m_world->vendor().setInstallerArchive("1.3.0", Replacement::archiveOf(u"1.3.0"_s));
    QStringList startedBeforeTheEnd;
    m_program->atTheEnd = [&] { startedBeforeTheEnd = m_program->workspace.applications; };
    accept();
    QVERIFY(waitForTheEnd());
    verifyEndedInOrder();
    QVERIFY(!window().isVisible());
    QCOMPARE(startedBeforeTheEnd, QStringList{bundle()});
    QCOMPARE(m_world->read(bundle() + u"/usr/version"_s), "1.3.0");
    QVERIFY(QFile::exists(bundle(u"1.2.6"_s) + u"/AppRun"_s));
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

void TestUpgradeOutcomes::theReplacementDecidesOnTheEnd_data()
{
    using Answer = std::optional<ScriptError>;
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("closed");
    QTest::addColumn<Answer>("answer"); // of the administrator; nothing: yes
    QTest::addColumn<bool>("starts"); // whatever stands there then
    QTest::addColumn<QString>("reason"); // of the failure that is told of; null: none
    const QByteArray archive = Replacement::archiveOf(u"1.3.0"_s);
    const QString version = u"1.3.0"_s;
    QTest::newRow("moved") << archive << version << false << Answer() << true << QString();
    QTest::newRow("copied") << archive << version << true << Answer() << true << QString();
    QTest::newRow("status 1") << archive << version << true << Answer({1, u"cp: no"_s}) << true << QString();
    QTest::newRow("declined") << archive << version << true << Answer(userCanceled) << false << u"User canceled."_s;
    QTest::newRow("no words") << archive << version << true << Answer({-1, {}}) << false << u"(null)"_s;
    QTest::newRow("a placeholder") << archive << version << true << Answer({2, u"'%@'"_s}) << false << u"'%@'"_s;
    QTest::newRow("an error page") << QByteArray("<h1>Not Found</h1>") << version << true << Answer(userCanceled)
                                   << true << QString();
    QTest::newRow("a version with a slash") << archive << u"../1.3.0"_s << false << Answer() << false << QString();
}

void TestUpgradeOutcomes::theReplacementDecidesOnTheEnd()
{
    QFETCH(const QByteArray, archive);
    QFETCH(const QString, version);
    QFETCH(const bool, closed);
    QFETCH(const std::optional<ScriptError>, answer);
    QFETCH(const bool, starts);
    QFETCH(const QString, reason);
    m_world->write(m_world->archive(), archive);
    giveToPlayer(m_world->path());
    if (closed)
        m_program->administrator.close(applications());
    m_program->administrator.refusal = answer;
    bool endedBeforeTheAlert = false;
    m_program->alert.whileShown = [&] { endedBeforeTheAlert = m_program->exitStatus.has_value(); };
    delegate().setVersionValue(version);
    {
        const OrdinaryUser player;
        delegate().installUpdate();
    }
    QCOMPARE(m_program->workspace.applications, starts ? QStringList{bundle()} : QStringList());
    if (reason.isNull())
        return verifyEndedInOrder();
    QCOMPARE(m_program->alert.told(), QStringList{outcomeFailed.arg(reason)});
    QVERIFY(!endedBeforeTheAlert);
    QCOMPARE(m_program->exitStatus, std::optional(1));
    QCOMPARE(m_program->terminations, 0);
}

void TestUpgradeOutcomes::withoutASupportFolderItEndsInOrder()
{
    m_world->write(m_world->path(u"data"_s), "a file where the folder should be");
    delegate().setVersionValue(u"1.3.0"_s);
    standardErrorOf([this] { delegate().installUpdate(); });
    verifyEndedInOrder();
    QCOMPARE(m_program->workspace.applications, QStringList{bundle()}); // whatever stands there
}

void TestUpgradeOutcomes::aBrokenDownloadEndsWithStatus1()
{
    VendorAnswer broken = answerWith(Replacement::archiveOf(u"1.3.0"_s)); // all of it comes, and counts for nothing
    broken.resetAfter = broken.body.size();
    broken.length = VendorAnswer::Length::Chunked;
    m_world->vendor().setAnswer(remotePath, broken);
    accept();
    bool closedAndRunning = false;
    m_program->alert.whileShown = [&] { closedAndRunning = !window().isVisible() && !m_program->exitStatus; };
    QVERIFY(waitForTheEnd());
    QCOMPARE(m_program->exitStatus, std::optional(1));
    QCOMPARE(m_program->terminations, 0);
    QVERIFY(closedAndRunning);
    QCOMPARE(m_program->alert.told(), QStringList{downloadFailed});
    QVERIFY(m_program->workspace.applications.isEmpty());
    QVERIFY(!QFile::exists(m_world->supportFolder() + u"/update"_s)); // nothing was unpacked
}

void TestUpgradeOutcomes::closingTheWindowByHandStopsNothing()
{
    VendorAnswer answer = answerWith(Replacement::archiveOf(u"1.3.0"_s));
    answer.stallAfter = 10;
    m_world->vendor().setAnswer(remotePath, answer);
    accept();
    QTRY_COMPARE(delegate().upgrade()->totalDownloaded(), qint64(10));
    QVERIFY(window().close());
    QCoreApplication::processEvents();
    QCOMPARE(m_program->terminations, 0);
    m_world->vendor().step();
    QVERIFY(waitForTheEnd());
    QVERIFY(!window().isVisible()); // nothing brought it back
    verifyEndedInOrder();
    QVERIFY(QFile::exists(bundle() + u"/AppRun"_s));
}

void TestUpgradeOutcomes::everyVersionTextEndsWell_data()
{
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<bool>("isAddress"); // that may be asked for
    QTest::newRow("a line end") << QByteArray("1.2.6\n") << false;
    QTest::newRow("an error page") << QByteArray("<html>\n<h1>Not Found</h1>\n</html>\n") << false;
    QTest::newRow("up") << QByteArray("9/../../precious") << true;
    QTest::newRow("a slash at the end") << QByteArray("9/") << true;
    QTest::newRow("a double quote") << QByteArray("9\"3") << true;
    QTest::newRow("a backslash") << QByteArray("9\\3") << true;
    QTest::newRow("a bare percent sign") << QByteArray("9%") << true;
    QTest::newRow("a placeholder") << QByteArray("9%@") << true;
    QTest::newRow("a query") << QByteArray("9?x=1") << true;
    QTest::newRow("a fragment") << QByteArray("9#x") << true;
    QTest::newRow("another host's sign") << QByteArray("9@other.example") << true;
}

// Whatever the vendor publishes: what is asked for is asked of the download host, nothing but a bundle of that name is
// put in place, and the program ends in one of the two agreed ways.
void TestUpgradeOutcomes::everyVersionTextEndsWell()
{
    QFETCH(const QByteArray, version);
    QFETCH(const bool, isAddress);
    m_world->write(m_world->supportFolder() + u"/precious.app/file"_s, "precious");
    const QByteArrayList before = treeOf(applications());
    accept(version);
    m_world->vendor().clearRequests();
    QVERIFY(waitForTheEnd());
    QCOMPARE(m_program->exitStatus.value_or(0), isAddress ? 0 : 1);
    QCOMPARE(m_program->terminations, isAddress ? 1 : 0);
    QCOMPARE(m_world->vendor().requests().size(), isAddress ? 1 : 0);
    for (const VendorRequest &request : m_world->vendor().requests())
        QCOMPARE(request.host, "download.wayfar.example");
    QVERIFY(m_program->administrator.scripts.isEmpty());
    QCOMPARE(treeOf(applications()), before);
    QCOMPARE(m_world->read(m_world->supportFolder() + u"/precious.app/file"_s), "precious");
}

QTEST_MAIN(TestUpgradeOutcomes)
#include "TestUpgradeOutcomes.moc"
