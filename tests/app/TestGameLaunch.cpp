#include "places/Preferences.h"
#include "windows/SettingsWindow.h"
#include "support/Program.h"

using namespace Qt::StringLiterals;

namespace
{
const QString launchFailed = u"Failed to launch World of Warcraft Launcher. Please check settings..."_s;
}

class TestGameLaunch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theLauncherIsOpenedAndTheProgramEnds();
    void eachGuardEndsItSilently_data();
    void eachGuardEndsItSilently();
    void aFinishedDownloadStillKeepsItOff();
    void aClosedSettingsWindowKeepsNothingOff();
    void eachFailureSetsTheOneStatus_data();
    void eachFailureSetsTheOneStatus();
    void itIsArmedWhenTheNetworkWorkIsDoneWhateverThePreferencesSay();
    void itComesByItselfAfterTheStart();

private:
    // All guards open.
    void makeReady() const
    {
        m_world->defaults().setObject(Preferences::autoLaunch.key, true);
        m_world->defaults().setObject(Preferences::launchPath.key, u"/games/start.sh"_s);
        m_program->delegate.setButtonText(u"Play"_s);
        m_program->delegate.setStatusStr(u"before"_s);
    }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestGameLaunch::init()
{
    m_world = std::make_unique<TestWorld>();
    m_program = std::make_unique<Program>(*m_world);
}

void TestGameLaunch::cleanup()
{
    delete m_program->delegate.settingsWindow();
    m_program.reset();
}

void TestGameLaunch::theLauncherIsOpenedAndTheProgramEnds()
{
    makeReady();
    m_program->delegate.launchWow();
    QCOMPARE(m_program->workspace.files, QStringList{u"/games/start.sh"_s});
    QCOMPARE(m_program->terminations, 1);
    QCOMPARE(m_program->delegate.statusStr(), u"before"_s);
}

// Also with a launch path that would be a failure: the guards come first.
void TestGameLaunch::eachGuardEndsItSilently_data()
{
    using Prepare = std::function<void(TestWorld &, AppDelegate &)>;
    QTest::addColumn<Prepare>("prepare");
    QTest::newRow("the pack needs an update")
        << Prepare([](TestWorld &, AppDelegate &delegate) { delegate.setButtonText(u"Update"_s); });
    QTest::newRow("no version is known yet")
        << Prepare([](TestWorld &, AppDelegate &delegate) { delegate.setButtonText(std::nullopt); });
    QTest::newRow("a download was started") << Prepare([](TestWorld &world, AppDelegate &delegate) {
        world.vendor();
        delegate.update(u"Update"_s);
        delegate.setStatusStr(u"before"_s);
    });
    QTest::newRow("the settings are open")
        << Prepare([](TestWorld &, AppDelegate &delegate) { delegate.openSettings(); });
    QTest::newRow("not wanted") << Prepare(
        [](TestWorld &world, AppDelegate &) { world.defaults().setObject(Preferences::autoLaunch.key, false); });
    QTest::newRow("never asked for") << Prepare([](TestWorld &world, AppDelegate &) {
        world.write(world.preferencesFile(), R"({"launchPath": "/games/start.sh"})");
        world.defaults().synchronize();
    });
}

void TestGameLaunch::eachGuardEndsItSilently()
{
    QFETCH(const std::function<void(TestWorld &, AppDelegate &)>, prepare);
    makeReady();
    prepare(*m_world, m_program->delegate);
    for (const QString &path : {u"/games/start.sh"_s, QString()}) {
        m_world->defaults().setObject(Preferences::launchPath.key, path);
        m_program->delegate.launchWow();
        QCOMPARE(m_program->workspace.files, QStringList());
        QCOMPARE(m_program->terminations, 0);
        QCOMPARE(m_program->delegate.statusStr(), u"before"_s);
    }
}

void TestGameLaunch::aFinishedDownloadStillKeepsItOff()
{
    m_world->goOffline();
    m_program = std::make_unique<Program>(*m_world);
    m_program->delegate.update(u"Update"_s);
    QTRY_COMPARE(m_program->alert.shown.size(), 1); // it failed
    makeReady();
    m_program->delegate.launchWow();
    QCOMPARE(m_program->workspace.files, QStringList());
}

void TestGameLaunch::aClosedSettingsWindowKeepsNothingOff()
{
    makeReady();
    m_program->delegate.openSettings();
    m_program->delegate.settingsWindow()->close();
    m_program->delegate.launchWow();
    QCOMPARE(m_program->workspace.files.size(), 1);
}

void TestGameLaunch::eachFailureSetsTheOneStatus_data()
{
    QTest::addColumn<QByteArray>("preferences");
    QTest::addColumn<QStringList>("tried");
    QTest::newRow("no path") << QByteArray(R"({"autoLaunch": true})") << QStringList();
    QTest::newRow("an empty path") << QByteArray(R"({"autoLaunch": true, "launchPath": ""})") << QStringList();
    QTest::newRow("nothing opens") << QByteArray(R"({"autoLaunch": true, "launchPath": "/gone"})")
                                   << QStringList{u"/gone"_s};
}

void TestGameLaunch::eachFailureSetsTheOneStatus()
{
    QFETCH(const QByteArray, preferences);
    QFETCH(const QStringList, tried);
    m_world->write(m_world->preferencesFile(), preferences);
    m_world->defaults().synchronize();
    m_program->workspace.opens = false;
    m_program->delegate.setButtonText(u"Play"_s);
    m_program->delegate.launchWow();
    QCOMPARE(m_program->delegate.statusStr(), launchFailed);
    QCOMPARE(m_program->workspace.files, tried);
    QCOMPARE(m_program->terminations, 0);
    QCOMPARE(m_program->delegate.buttonText(), u"Play"_s);
    QVERIFY(m_program->alert.shown.isEmpty());
    QCOMPARE(m_world->read(m_world->preferencesFile()), preferences);
}

// The worker asks the main thread to arm the timer by an event to the delegate: it must not come before the last
// answer.
void TestGameLaunch::itIsArmedWhenTheNetworkWorkIsDoneWhateverThePreferencesSay()
{
    class ArmingWatch : public QObject
    {
    public:
        bool eventFilter(QObject *, QEvent *event) override
        {
            armed += event->type() == QEvent::MetaCall;
            return false;
        }
        int armed = 0;
    };
    ArmingWatch watch;
    m_program->delegate.installEventFilter(&watch);
    VendorAnswer held;
    held.body = "1.2.6";
    held.stallAfter = -1;
    m_world->vendor().setAnswer("/api/wayfarVersion", held);

    m_program->delegate.applicationDidFinishLaunching();
    const bool asked = QTest::qWaitFor([this] { return m_world->vendor().requests("/api/wayfarVersion").size() == 1; });
    QCoreApplication::processEvents();
    const int armedEarly = watch.armed;
    m_world->vendor().step();
    QTRY_VERIFY(!m_program->delegate.isStarting());
    QVERIFY(asked);
    QCOMPARE(armedEarly, 0);
    QCOMPARE(watch.armed, 1);
}

void TestGameLaunch::itComesByItselfAfterTheStart()
{
    m_world->vendor().addAccount(u"anna"_s, u"secret"_s, "<p>Anna</p>");
    m_world->installPack("1.2.6");
    m_world->defaults().setObject(Preferences::userName.key, u"anna"_s);
    m_world->defaults().setObject(Preferences::password.key, u"secret"_s);
    m_world->defaults().setObject(Preferences::autoLaunch.key, true);
    m_world->defaults().setObject(Preferences::launchPath.key, u"/games/start.sh"_s);
    QVERIFY(m_program->start());
    QCOMPARE(m_program->terminations, 0); // the window is there first, and the player can still stop it
    QVERIFY(m_program->delegate.window()->isVisible());
    QCOMPARE(m_program->delegate.statusStr(), u"Logged in as anna..."_s);
    QTRY_COMPARE_WITH_TIMEOUT(m_program->terminations, 1, 10000);
    QCOMPARE(m_program->workspace.files, QStringList{u"/games/start.sh"_s});
    QCOMPARE(m_program->delegate.statusStr(), u"Logged in as anna..."_s);
}

QTEST_MAIN(TestGameLaunch)
#include "TestGameLaunch.moc"
