#include "support/Answers.h"
#include "support/Modal.h"
#include "support/Program.h"

#include "controls/Pane.h"
#include "controls/AlertWindow.h"
#include "upgrade/InstallerUpgrade.h"
#include "windows/InstallerDownloadWindow.h"

#include <QMessageBox>

using namespace Qt::StringLiterals;

namespace
{
bool isMainThread()
{
    return QThread::currentThread() == qApp->thread();
}

const QString outOfReach =
    u"Installer could not connect to www.wayfar.example or connection is blocked by a security software. Check "
    "internet connection to website and whitelist WayfarRoutes_1.2.6.app file with your security software and try "
    "again."_s;

QString questionFor(const QByteArray &version)
{
    return u"An updated version "_s + QString::fromLatin1(version)
        + u" of Wayfar Installer is available. Would you like to download?\n"
          "NOTE: Upgrade to newest version is recommended\n[YES] [NO]"_s;
}
} // namespace

// The start-up's first step, and what follows from each of its outcomes.
class TestInstallerUpgrade : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QGuiApplication::setQuitOnLastWindowClosed(false); }
    void init();
    void cleanup() { end(); }

    void withoutANewerVersionTheWorkerGoesOnWithoutAWord();
    void aVendorOutOfReachIsToldOfByTheWorkerAndEndsTheProcess_data();
    void aVendorOutOfReachIsToldOfByTheWorkerAndEndsTheProcess();
    void theQuestionIsAskedOverTheSplashAtEveryStart();
    void theQuestionAndVersionValueCarryTheVersionAsItCame_data();
    void theQuestionAndVersionValueCarryTheVersionAsItCame();
    void anyAnswerButYesGoesOnOnTheMainThread_data();
    void anyAnswerButYesGoesOnOnTheMainThread();
    void aYesDownloadsInsteadOfStartingUp();
    void theRealAlertsAreAnsweredDuringTheStart_data();
    void theRealAlertsAreAnsweredDuringTheStart();

private:
    bool wasAskedFor(const QByteArray &path) { return !m_world->vendor().requests(path).isEmpty(); }
    bool hasStartedUp() { return wasAskedFor("/feed") || delegate().window()->isVisible(); }
    // Notes which thread compares the pack's versions.
    void watch(QThread *&fetcher)
    {
        connect(
            &delegate(), &AppDelegate::currentVersionChanged, &delegate(),
            [&fetcher] { fetcher = QThread::currentThread(); }, Qt::DirectConnection);
    }
};

void TestInstallerUpgrade::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "<p>Rowan's page</p>");
    storeAccount(u"rowan"_s, u"secret"_s);
    m_program = std::make_unique<Program>(*m_world);
}

void TestInstallerUpgrade::withoutANewerVersionTheWorkerGoesOnWithoutAWord()
{
    QThread *fetcher = nullptr;
    watch(fetcher);
    QVERIFY(m_program->start());
    QList<QByteArray> paths;
    for (const VendorRequest &request : m_world->vendor().requests())
        paths.append(request.path);
    QCOMPARE(paths,
             (QList<QByteArray>{"/api/macVersion", "/feed", "/api/dlCheckUser", "/installer/banners/large.png",
                                "/installer/banners/small.png", "/api/wayfarVersion"}));
    QVERIFY(m_program->alert.shown.isEmpty());
    QVERIFY(!m_program->exitStatus);
    QVERIFY(fetcher && fetcher != qApp->thread());
    QVERIFY(delegate().window()->isVisible());
    QVERIFY(!delegate().VersionValue());
    QVERIFY(!delegate().upgrade()->progressWindow());
}

void TestInstallerUpgrade::aVendorOutOfReachIsToldOfByTheWorkerAndEndsTheProcess_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::newRow("no answer") << brokenOff();
    QTest::newRow("no version in it") << answerWith("");
}

void TestInstallerUpgrade::aVendorOutOfReachIsToldOfByTheWorkerAndEndsTheProcess()
{
    QFETCH(const VendorAnswer, answer);
    m_world->vendor().setAnswer("/api/macVersion", answer);
    QCoreApplication::setApplicationVersion(u"1.4"_s); // the bundle's name in the alert does not follow it
    bool byTheWorker = false;
    bool endedBefore = true;
    m_program->alert.whileShown = [&] {
        byTheWorker = !isMainThread();
        endedBefore = m_program->exitStatus.has_value();
    };
    QVERIFY(m_program->start());
    QVERIFY(byTheWorker);
    QVERIFY(!endedBefore);
    QCOMPARE(m_program->alert.told(), QStringList{outOfReach});
    QCOMPARE(m_program->exitStatus, std::optional(1));
    QCOMPARE(m_program->terminations, 0); // at once, not in order
    QVERIFY(delegate().splashWindow() && delegate().splashWindow()->isVisible());
    QVERIFY(!hasStartedUp());
    QVERIFY(!delegate().statusStr());
}

void TestInstallerUpgrade::theQuestionIsAskedOverTheSplashAtEveryStart()
{
    m_world->vendor().setInstallerVersion("1.3.0");
    m_program->alert.answer = 0;
    bool ready = false;
    m_program->alert.whileShown = [&] {
        ready = isMainThread() && delegate().splashWindow()->isVisible() && !hasStartedUp() && delegate().isStarting();
    };
    bool splashUntilAllIsFetched = false;
    connect(
        &delegate(), &AppDelegate::buttonTextChanged, &delegate(),
        [&] { splashUntilAllIsFetched = delegate().splashWindow() && delegate().splashWindow()->isVisible(); },
        Qt::DirectConnection);
    QVERIFY(m_program->start());
    QVERIFY(ready);
    QVERIFY(splashUntilAllIsFetched);
    QVERIFY(!delegate().splashWindow());

    m_program = std::make_unique<Program>(*m_world); // which knows of no answer
    m_program->alert.answer = 0;
    QVERIFY(m_program->start());
    QCOMPARE(m_program->alert.told(), QStringList{questionFor("1.3.0")});
}

void TestInstallerUpgrade::theQuestionAndVersionValueCarryTheVersionAsItCame_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::newRow("ten after nine") << QByteArray("1.2.10");
    QTest::newRow("unshortened") << QByteArray("1.3.0");
    QTest::newRow("a line end") << QByteArray("1.2.6\n");
    QTest::newRow("a placeholder") << QByteArray("9%@");
    QTest::newRow("an error page") << QByteArray("<html><b>Not</b> Found</html>");
}

void TestInstallerUpgrade::theQuestionAndVersionValueCarryTheVersionAsItCame()
{
    QFETCH(const QByteArray, published);
    m_world->vendor().setInstallerVersion(published);
    QVERIFY(m_program->start()); // with a yes
    QCOMPARE(m_program->alert.told().value(0), questionFor(published));
    QCOMPARE(delegate().VersionValue(), QString::fromLatin1(published));
}

void TestInstallerUpgrade::anyAnswerButYesGoesOnOnTheMainThread_data()
{
    QTest::addColumn<int>("answer");
    QTest::newRow("no") << 0;
    QTest::newRow("another") << 2;
    QTest::newRow("negative") << -1;
}

void TestInstallerUpgrade::anyAnswerButYesGoesOnOnTheMainThread()
{
    QFETCH(const int, answer);
    m_world->vendor().setInstallerVersion("1.3.0");
    m_world->installPack("1.2.6");
    m_program->alert.answer = answer;
    QThread *fetcher = nullptr;
    watch(fetcher);
    bool shownWithStatus = false;
    connect(
        &delegate(), &AppDelegate::statusStrChanged, &delegate(),
        [&] { shownWithStatus = isMainThread() && delegate().window()->isVisible() && !delegate().splashWindow(); },
        Qt::DirectConnection);
    QVERIFY(m_program->start());
    QCOMPARE(fetcher, qApp->thread());
    QVERIFY(shownWithStatus); // the windows were switched at once, without a deadlock
    QCOMPARE(m_world->vendor().requests("/feed").size(), 1); // not by the worker as well
    QVERIFY(wasAskedFor("/installer/banners/large.png"));
    QCOMPARE(delegate().statusStr(), u"Logged in as rowan..."_s);
    QCOMPARE(delegate().buttonText(), u"Play"_s);
    QVERIFY(!delegate().VersionValue());
    QVERIFY(!delegate().upgrade()->progressWindow());
    QVERIFY(!m_program->exitStatus);
    QTRY_VERIFY(!QApplication::overrideCursor());
}

void TestInstallerUpgrade::aYesDownloadsInsteadOfStartingUp()
{
    m_world->vendor().setInstallerVersion("1.3.0");
    m_world->vendor().setAnswer("/WayfarRoutes_1.3.0.zip", silence());
    m_world->write(m_world->supportFolder() + u"/account.html"_s, "<p>Of an earlier run</p>");
    QVERIFY(m_program->start());
    QVERIFY(!delegate().splashWindow());
    QVERIFY(QTest::qWaitForWindowActive(dynamic_cast<QWidget *>(delegate().upgrade()->progressWindow())));
    QTRY_VERIFY(wasAskedFor("/WayfarRoutes_1.3.0.zip"));
    // Nothing but the check and the download; neither panes nor banners, no main window.
    QCOMPARE(m_world->vendor().requests().size(), 2);
    QVERIFY(delegate().htmlView()->url().isEmpty());
    QVERIFY(delegate().rssView()->url().isEmpty());
    QVERIFY(!hasStartedUp());
    QVERIFY(!delegate().statusStr());
    QVERIFY(!delegate().buttonText());
}

void TestInstallerUpgrade::theRealAlertsAreAnsweredDuringTheStart_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QString>("button");
    QTest::addColumn<std::optional<int>>("exitStatus");
    QTest::addColumn<bool>("startsUp");
    QTest::newRow("the failure") << QByteArray() << u"OK"_s << std::optional(1) << false;
    QTest::newRow("the question, yes") << QByteArray("1.3.0") << u"YES"_s << std::optional<int>() << false;
    QTest::newRow("the question, no") << QByteArray("1.3.0") << u"NO"_s << std::optional<int>() << true;
}

// The worker waits for the main thread's answer.
void TestInstallerUpgrade::theRealAlertsAreAnsweredDuringTheStart()
{
    QFETCH(const QByteArray, published);
    QFETCH(const QString, button);
    m_world->vendor().setInstallerVersion(published);
    m_world->vendor().setAnswer("/WayfarRoutes_1.3.0.zip", silence());
    AlertWindow alert;
    m_program = std::make_unique<Program>(*m_world, &alert);
    const WhenOpen<QMessageBox> player([&](QMessageBox &box) {
        QVERIFY(delegate().isStarting());
        QVERIFY(!m_program->exitStatus);
        for (QAbstractButton *choice : box.buttons()) {
            if (choice->text() == button)
                QTest::mouseClick(choice, Qt::LeftButton);
        }
    });
    QVERIFY(m_program->start());
    QVERIFY(player.opened());
    QTEST(m_program->exitStatus, "exitStatus");
    QTEST(hasStartedUp(), "startsUp");
}

QTEST_MAIN(TestInstallerUpgrade)
#include "TestInstallerUpgrade.moc"
