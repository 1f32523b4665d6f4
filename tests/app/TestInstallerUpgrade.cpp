#include "support/Answers.h"
#include "support/Program.h"

#include "controls/ImageView.h"
#include "places/Preferences.h"
#include "windows/InstallerDownloadWindow.h"
#include "upgrade/InstallerUpgrade.h"

#include <QAbstractEventDispatcher>
#include <QApplication>

using namespace Qt::StringLiterals;

namespace
{
// The single shots of five seconds, each a timer of a child of the dispatcher. One whose receiver is gone stays until
// its time has come, and then does nothing.
QSet<int> fiveSecondTimers()
{
    auto *dispatcher = QAbstractEventDispatcher::instance();
    QSet<int> timers;
    for (QObject *child : dispatcher->children()) {
        for (const auto &timer : dispatcher->registeredTimers(child)) {
            if (timer.interval == 5000)
                timers.insert(timer.timerId);
        }
    }
    return timers;
}

bool isMainThread()
{
    return QThread::currentThread() == qApp->thread();
}

const QString outOfReach =
    u"Installer could not connect to www.wayfar.example or connection is blocked by a security software. Check "
    "internet connection to website and whitelist WayfarRoutes_1.2.6.app file with your security software and try "
    "again."_s;
} // namespace

// The start-up's first step, and what follows from each of its outcomes.
class TestInstallerUpgrade : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QGuiApplication::setQuitOnLastWindowClosed(false); }
    void init();
    void cleanup();

    void theVersionIsAskedForBeforeAnythingElse();
    void withoutANewerVersionNothingIsAsked_data();
    void withoutANewerVersionNothingIsAsked();
    void aVendorOutOfReachIsToldOfByTheWorkerAndEndsTheProcess_data();
    void aVendorOutOfReachIsToldOfByTheWorkerAndEndsTheProcess();
    void theBundlesNameInThatAlertDoesNotFollowTheVersion();
    void theQuestionIsAskedOnTheMainThreadOverTheSplash();
    void theQuestionAndVersionValueCarryTheVersionAsItCame_data();
    void theQuestionAndVersionValueCarryTheVersionAsItCame();
    void anyAnswerButYesGoesOnOnTheMainThread_data();
    void anyAnswerButYesGoesOnOnTheMainThread();
    void theSplashStaysUntilAllIsFetchedAfterANo();
    void aNoIsForgottenAtTheNextStart();
    void aYesDownloadsInsteadOfStartingUp();

private:
    AppDelegate &delegate() { return m_program->delegate; }
    QWidget &window() { return dynamic_cast<QWidget &>(*delegate().upgrade()->progressWindow()); }
    bool wasAskedFor(const QByteArray &path) { return !m_world->vendor().requests(path).isEmpty(); }
    qsizetype armedLaunches() const { return (fiveSecondTimers() - m_timersBefore).size(); }
    bool hasStartedUp() { return wasAskedFor("/feed") || delegate().window()->isVisible() || armedLaunches() > 0; }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
    QSet<int> m_timersBefore; // of earlier tests
};

void TestInstallerUpgrade::init()
{
    m_timersBefore = fiveSecondTimers();
    QCoreApplication::setApplicationVersion(u"1.2.6"_s);
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "<p>Rowan's page</p>");
    m_world->defaults().setObject(Preferences::userName.key, u"rowan"_s);
    m_world->defaults().setObject(Preferences::password.key, u"secret"_s);
    m_program = std::make_unique<Program>(*m_world);
}

void TestInstallerUpgrade::cleanup()
{
    m_program.reset();
    m_world.reset();
}

void TestInstallerUpgrade::theVersionIsAskedForBeforeAnythingElse()
{
    QVERIFY(m_program->start());
    QList<QByteArray> paths;
    for (const VendorRequest &request : m_world->vendor().requests())
        paths.append(request.path);
    QCOMPARE(paths,
             (QList<QByteArray>{"/api/macVersion", "/feed", "/api/dlCheckUser", "/installer/banners/large.png",
                                "/installer/banners/small.png", "/api/wayfarVersion"}));
}

void TestInstallerUpgrade::withoutANewerVersionNothingIsAsked_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QString>("installed");
    QTest::newRow("the same") << QByteArray("1.2.6") << u"1.2.6"_s;
    QTest::newRow("the same but for a zero group") << QByteArray("1.3.0") << u"1.3"_s;
    QTest::newRow("older") << QByteArray("1.2.5") << u"1.2.6"_s;
    QTest::newRow("nine before ten") << QByteArray("1.2.9") << u"1.2.10"_s;
}

void TestInstallerUpgrade::withoutANewerVersionNothingIsAsked()
{
    QFETCH(const QByteArray, published);
    QFETCH(const QString, installed);
    QCoreApplication::setApplicationVersion(installed);
    m_world->vendor().setInstallerVersion(published);
    QThread *fetcher = nullptr;
    connect(
        &delegate(), &AppDelegate::currentVersionChanged, &delegate(), [&] { fetcher = QThread::currentThread(); },
        Qt::DirectConnection);
    QVERIFY(m_program->start());
    QVERIFY(m_program->alert.shown.isEmpty());
    QVERIFY(!m_program->exitStatus);
    QVERIFY(fetcher && fetcher != qApp->thread());
    QVERIFY(delegate().window()->isVisible());
    QVERIFY(!delegate().VersionValue());
    QVERIFY(delegate().upgrade());
    QVERIFY(!delegate().upgrade()->progressWindow());
    QCOMPARE(armedLaunches(), qsizetype(1));
}

void TestInstallerUpgrade::aVendorOutOfReachIsToldOfByTheWorkerAndEndsTheProcess_data()
{
    QTest::addColumn<bool>("offline");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<std::optional<qint64>>("resetAfter");
    using Count = std::optional<qint64>;
    QTest::newRow("no connection") << true << QByteArray("9.9") << Count();
    QTest::newRow("broken before the answer") << false << QByteArray("9.9") << Count(-1);
    QTest::newRow("broken in the answer") << false << QByteArray("9.9") << Count(1);
    QTest::newRow("no body") << false << QByteArray() << Count();
    QTest::newRow("not 7-bit") << false << QByteArray("9.\xb2") << Count();
}

void TestInstallerUpgrade::aVendorOutOfReachIsToldOfByTheWorkerAndEndsTheProcess()
{
    QFETCH(const bool, offline);
    QFETCH(const QByteArray, body);
    QFETCH(const std::optional<qint64>, resetAfter);
    VendorAnswer answer;
    answer.body = body;
    answer.resetAfter = resetAfter;
    m_world->vendor().setAnswer("/api/macVersion", answer);
    if (offline) {
        m_program.reset();
        m_world->goOffline();
        m_program = std::make_unique<Program>(*m_world);
    }
    bool byTheWorker = false;
    bool endedBefore = true;
    m_program->alert.whileShown = [&] {
        byTheWorker = !isMainThread();
        endedBefore = m_program->exitStatus.has_value();
    };
    QVERIFY(m_program->start());
    QVERIFY(byTheWorker);
    QVERIFY(!endedBefore);
    QCOMPARE(m_program->alert.shown.size(), 1);
    const AlertContent &content = m_program->alert.shown.constFirst();
    QCOMPARE(content.messageText, outOfReach);
    QCOMPARE(content.informativeText, QString());
    QCOMPARE(content.defaultButton, u"OK"_s);
    QCOMPARE(content.alternateButton, QString());
    QCOMPARE(m_program->exitStatus, std::optional(1));
    QCOMPARE(m_program->terminations, 0); // at once, not in order
    QVERIFY(delegate().splashWindow() && delegate().splashWindow()->isVisible());
    QVERIFY(!hasStartedUp());
    QVERIFY(!delegate().statusStr());
}

void TestInstallerUpgrade::theBundlesNameInThatAlertDoesNotFollowTheVersion()
{
    QCoreApplication::setApplicationVersion(u"1.4"_s);
    m_world->vendor().setInstallerVersion("");
    QVERIFY(m_program->start());
    QCOMPARE(m_program->alert.shown.value(0).messageText, outOfReach);
}

void TestInstallerUpgrade::theQuestionIsAskedOnTheMainThreadOverTheSplash()
{
    m_world->vendor().setInstallerVersion("1.3.0");
    m_program->alert.answer = 0;
    bool ready = false;
    m_program->alert.whileShown = [&] {
        ready = isMainThread() && delegate().splashWindow()->isVisible() && !hasStartedUp() && delegate().isStarting();
    };
    QVERIFY(m_program->start());
    QVERIFY(ready);
    QCOMPARE(m_program->alert.shown.size(), 1);
    const AlertContent &content = m_program->alert.shown.constFirst();
    QCOMPARE(content.messageText,
             u"An updated version 1.3.0 of Wayfar Installer is available. Would you like to download?"_s);
    QCOMPARE(content.informativeText, u"NOTE: Upgrade to newest version is recommended"_s);
    QCOMPARE(content.defaultButton, u"YES"_s);
    QCOMPARE(content.alternateButton, u"NO"_s);
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
    QCOMPARE(m_program->alert.shown.value(0).messageText,
             u"An updated version "_s + QString::fromLatin1(published)
                 + u" of Wayfar Installer is available. Would you like to download?"_s);
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
    bool shownWithStatus = false;
    connect(
        &delegate(), &AppDelegate::currentVersionChanged, &delegate(), [&] { fetcher = QThread::currentThread(); },
        Qt::DirectConnection);
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
    QCOMPARE(armedLaunches(), qsizetype(1));
    QVERIFY(!m_program->exitStatus);
    QTRY_VERIFY(!QApplication::overrideCursor());
}

void TestInstallerUpgrade::theSplashStaysUntilAllIsFetchedAfterANo()
{
    m_world->vendor().setInstallerVersion("1.3.0");
    m_program->alert.answer = 0;
    bool splash = false;
    connect(
        &delegate(), &AppDelegate::buttonTextChanged, &delegate(),
        [&] { splash = delegate().splashWindow() && delegate().splashWindow()->isVisible(); }, Qt::DirectConnection);
    QVERIFY(m_program->start());
    QVERIFY(splash);
    QVERIFY(!delegate().splashWindow());
}

void TestInstallerUpgrade::aNoIsForgottenAtTheNextStart()
{
    m_world->vendor().setInstallerVersion("1.3.0");
    for (int start = 0; start < 2; ++start) {
        m_program = std::make_unique<Program>(*m_world);
        m_program->alert.answer = 0;
        QVERIFY(m_program->start());
        QCOMPARE(m_program->alert.shown.size(), 1);
    }
}

void TestInstallerUpgrade::aYesDownloadsInsteadOfStartingUp()
{
    m_world->vendor().setInstallerVersion("1.3.0");
    m_world->vendor().setAnswer("/WayfarRoutes_1.3.0.zip", silence());
    m_world->write(m_world->supportFolder() + u"/account.html"_s, "<p>Of an earlier run</p>");
    QVERIFY(m_program->start());
    QCOMPARE(delegate().VersionValue(), u"1.3.0"_s);
    QVERIFY(!delegate().splashWindow());
    QVERIFY(window().isVisible());
    QVERIFY(QTest::qWaitForWindowActive(&window()));
    QTRY_VERIFY(wasAskedFor("/WayfarRoutes_1.3.0.zip"));
    // Nothing but the check and the download; neither panes nor banners, no timer, no main window.
    QCOMPARE(m_world->vendor().requests().size(), 2);
    QVERIFY(delegate().htmlView()->url().isEmpty());
    QVERIFY(delegate().rssView()->url().isEmpty());
    QVERIFY(!hasStartedUp());
    QVERIFY(!delegate().statusStr());
    QVERIFY(!delegate().buttonText());
}

QTEST_MAIN(TestInstallerUpgrade)
#include "TestInstallerUpgrade.moc"
