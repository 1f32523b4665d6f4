#include "support/Answers.h"
#include "support/Program.h"

#include "places/Preferences.h"

#include <QElapsedTimer>
#include <QThread>

using namespace Qt::StringLiterals;

namespace
{
using Prepare = std::function<void(TestWorld &, AppDelegate &)>;

const QString launchFailed = u"Failed to launch World of Warcraft Launcher. Please check settings..."_s;
} // namespace

namespace
{
// The main window takes its time to come up.
class SlowToShow : public QObject
{
public:
    explicit SlowToShow(unsigned long milliseconds) : m_milliseconds(milliseconds) { qApp->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && qobject_cast<MainWindow *>(watched))
            QThread::msleep(m_milliseconds);
        return QObject::eventFilter(watched, event);
    }

private:
    const unsigned long m_milliseconds;
};
} // namespace

class TestGameLaunch : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

    void theLauncherIsOpenedAndTheProgramEnds_data();
    void theLauncherIsOpenedAndTheProgramEnds();
    void eachGuardEndsItSilently_data();
    void eachGuardEndsItSilently();
    void eachFailureSetsTheOneStatus_data();
    void eachFailureSetsTheOneStatus();
    void itComesByItselfFiveSecondsAfterTheNetworkWork();

private:
    // All guards open.
    void makeReady()
    {
        m_world->defaults().setObject(Preferences::autoLaunch.key, true);
        m_world->defaults().setObject(Preferences::launchPath.key, u"/games/start.sh"_s);
        delegate().setButtonText(u"Play"_s);
        delegate().setStatusStr(u"before"_s);
    }
};

void TestGameLaunch::theLauncherIsOpenedAndTheProgramEnds_data()
{
    QTest::addColumn<bool>("settingsClosedBefore");
    QTest::newRow("plainly") << false;
    QTest::newRow("after the settings were closed") << true;
}

void TestGameLaunch::theLauncherIsOpenedAndTheProgramEnds()
{
    QFETCH(const bool, settingsClosedBefore);
    makeReady();
    if (settingsClosedBefore) {
        delegate().openSettings();
        delegate().settingsWindow()->close();
    }
    delegate().launchWow();
    QCOMPARE(m_program->workspace.files, QStringList{u"/games/start.sh"_s});
    QCOMPARE(m_program->terminations, 1);
    QCOMPARE(delegate().statusStr(), u"before"_s);
}

// Also with a launch path that would be a failure: the guards come first.
void TestGameLaunch::eachGuardEndsItSilently_data()
{
    QTest::addColumn<Prepare>("prepare");
    const auto row = [](const char *name, const Prepare &prepare) { QTest::newRow(name) << prepare; };
    row("the pack needs an update", [](TestWorld &, AppDelegate &delegate) { delegate.setButtonText(u"Update"_s); });
    row("no version is known yet", [](TestWorld &, AppDelegate &delegate) { delegate.setButtonText(std::nullopt); });
    row("a download was started", [](TestWorld &world, AppDelegate &delegate) {
        world.vendor();
        delegate.update(u"Update"_s);
        delegate.setStatusStr(u"before"_s);
    });
    row("a download has ended", [](TestWorld &, AppDelegate &delegate) {
        delegate.update(u"Update"_s);
        QTRY_VERIFY(delegate.updateNotStarted());
        delegate.setButtonText(u"Play"_s);
        delegate.setStatusStr(u"before"_s);
    });
    row("the settings are open", [](TestWorld &, AppDelegate &delegate) { delegate.openSettings(); });
    row("not wanted",
        [](TestWorld &world, AppDelegate &) { world.defaults().setObject(Preferences::autoLaunch.key, false); });
    row("never asked for", [](TestWorld &world, AppDelegate &) {
        world.write(world.preferencesFile(), R"({"launchPath": "/games/start.sh"})");
        world.defaults().synchronize();
    });
}

void TestGameLaunch::eachGuardEndsItSilently()
{
    QFETCH(const Prepare, prepare);
    makeReady();
    prepare(*m_world, delegate());
    for (const QString &path : {u"/games/start.sh"_s, QString()}) {
        m_world->defaults().setObject(Preferences::launchPath.key, path);
        delegate().launchWow();
        QCOMPARE(m_program->workspace.files, QStringList());
        QCOMPARE(m_program->terminations, 0);
        QCOMPARE(delegate().statusStr(), u"before"_s);
    }
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
    delegate().setButtonText(u"Play"_s);
    delegate().launchWow();
    QCOMPARE(delegate().statusStr(), launchFailed);
    QCOMPARE(m_program->workspace.files, tried);
    QCOMPARE(m_program->terminations, 0);
    QCOMPARE(delegate().buttonText(), u"Play"_s);
    QVERIFY(m_program->alert.shown.isEmpty());
    QCOMPARE(m_world->read(m_world->preferencesFile()), preferences);
}

// Of two programs: one that just starts, and one that declines an upgrade first. The launch is not wanted before the
// start is over: it is decided on when the seconds have passed.
void TestGameLaunch::itComesByItselfFiveSecondsAfterTheNetworkWork()
{
    constexpr qint64 fiveSeconds = 5000;
    constexpr qint64 laterThanThat = 6500; // as with the seconds counted from the main window
    m_world->installPack("1.2.6");
    VendorAnswer slow = answerWith("1.2.6"); // takes a second, which does not count
    slow.pieces = {1, 1, 1, 1};
    slow.pauseMs = 250;
    m_world->vendor().queueAnswer("/api/wayfarVersion", slow);
    QElapsedTimer sinceTheNetworkWork;
    connect(
        &delegate(), &AppDelegate::buttonTextChanged, &delegate(), [&] { sinceTheNetworkWork.start(); },
        Qt::DirectConnection);
    SlowToShow slowly(2000);
    qint64 launchedAfter = 0;
    m_program->atTheEnd = [&] { launchedAfter = sinceTheNetworkWork.elapsed(); };
    QVERIFY(m_program->start());

    m_world->vendor().setInstallerVersion("1.3.0");
    Program declining(*m_world);
    declining.alert.answer = 0;
    QVERIFY(declining.start());
    QVERIFY(declining.delegate.window()->isVisible());

    m_world->defaults().setObject(Preferences::autoLaunch.key, true);
    m_world->defaults().setObject(Preferences::launchPath.key, u"/games/start.sh"_s);
    QCOMPARE(m_program->terminations, 0); // the player can still stop it
    const auto status = delegate().statusStr();
    QTRY_COMPARE_WITH_TIMEOUT(m_program->terminations, 1, 10000);
    QVERIFY2(launchedAfter >= fiveSeconds && launchedAfter < laterThanThat,
             QByteArray::number(launchedAfter).constData());
    QCOMPARE(delegate().statusStr(), status);
    QTRY_COMPARE_WITH_TIMEOUT(declining.terminations, 1, 10000);
    QCOMPARE(m_program->workspace.files, QStringList{u"/games/start.sh"_s});
    QCOMPARE(declining.workspace.files, QStringList{u"/games/start.sh"_s});
}

QTEST_MAIN(TestGameLaunch)
#include "TestGameLaunch.moc"
