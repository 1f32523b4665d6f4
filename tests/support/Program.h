#pragma once

#include "support/StandIns.h"
#include "support/TestWorld.h"

#include "app/AppDelegate.h"
#include "places/Preferences.h"
#include "windows/MainWindow.h"
#include "windows/SettingsWindow.h"
#include "windows/SplashScreen.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>

// Stand-ins for the player's answers, the browser, the game, the administrator and the end.
struct StandIns {
    Surroundings surroundings(TestWorld &world, UserDefaults &defaults) { return surroundings(world, defaults, alert); }
    Surroundings surroundings(TestWorld &world, UserDefaults &defaults, Alert &shownAlert)
    {
        return {.site = world.site(),
                .defaults = defaults,
                .loader = world.loader(),
                .workspace = workspace,
                .alert = shownAlert,
                .scriptRunner = administrator,
                .terminate =
                    [this] {
                        ++terminations;
                        atTheEnd();
                    },
                .exit =
                    [this](int status) {
                        exitStatus = status;
                        atTheEnd();
                    },
                .bundlePath = world.path(QStringLiteral("applications/WayfarRoutes_1.2.6.app"))};
    }

    void forgetDeeds()
    {
        workspace.files.clear();
        workspace.urls.clear();
        alert.shown.clear();
        terminations = 0;
    }

    RecordingWorkspace workspace;
    RecordingAlert alert;
    Administrator administrator;
    int terminations = 0;
    std::optional<int> exitStatus; // of the end at once; where the real one would not return, this does
    std::function<void()> atTheEnd = [] {}; // what the program's state is at either end
};

// The real delegate with its real windows in a TestWorld. Needs a QApplication.
struct Program : StandIns {
    // Both are borrowed; without an alert it is the stand-in.
    explicit Program(TestWorld &world, Alert *shownAlert = nullptr)
        : delegate(surroundings(world, world.defaults(), shownAlert ? *shownAlert : alert))
    {
        QCoreApplication::setApplicationVersion(QStringLiteral("1.2.6")); // what the vendor publishes: no upgrade
        QObject::connect(&delegate, &AppDelegate::statusStrChanged, &delegate,
                         [this] { statuses.append(delegate.statusStr().value_or(QStringLiteral("(null)"))); });
    }
    ~Program() { delete delegate.settingsWindow(); }
    Q_DISABLE_COPY_MOVE(Program)

    // applicationDidFinishLaunching, until the worker is done and the status line is set. False after 20 s.
    bool start()
    {
        delegate.applicationDidFinishLaunching();
        return waitForStart();
    }
    bool waitForStart() const
    {
        return QTest::qWaitFor([this] { return !delegate.isStarting(); }, 20000);
    }

    // Of the main window.
    template<typename Control = QAbstractButton> Control *control(const char *name) const
    {
        return delegate.window()->findChild<Control *>(QString::fromLatin1(name));
    }
    void click(const char *name) const { QTest::mouseClick(control<QWidget>(name), Qt::LeftButton); }

    // False when they don't get the keyboard.
    bool openSettings()
    {
        delegate.openSettings();
        return QTest::qWaitForWindowActive(delegate.settingsWindow());
    }
    template<typename Control = QWidget> Control *settingsControl(const char *name) const
    {
        return delegate.settingsWindow()->findChild<Control *>(QString::fromLatin1(name));
    }
    void pressInSettings(const char *button) const
    {
        settingsControl(button)->setFocus();
        QTest::keyClick(settingsControl(button), Qt::Key_Space);
    }

    AppDelegate delegate;
    QStringList statuses; // each as it was set
};

// A test of the program, with a world and a program of its own for each function: init() begins them, cleanup() ends.
class ProgramTest : public QObject
{
protected:
    void begin()
    {
        m_world = std::make_unique<TestWorld>();
        m_program = std::make_unique<Program>(*m_world);
    }
    void end()
    {
        m_program.reset();
        m_world.reset();
    }
    AppDelegate &delegate() const { return m_program->delegate; }
    void storeAccount(const QString &user, const QString &password) const
    {
        m_world->defaults().setObject(Preferences::userName.key, user);
        m_world->defaults().setObject(Preferences::password.key, password);
    }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

// What the status line read, each time it was painted with the wait cursor.
class WaitWatch : public QObject
{
public:
    explicit WaitWatch(const std::function<void()> &whenPainted = [] {}) : m_whenPainted(whenPainted)
    {
        qApp->installEventFilter(this);
    }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const QCursor *cursor = QApplication::overrideCursor();
        if (event->type() == QEvent::Paint && watched->objectName() == u"statusLabel" && cursor
            && cursor->shape() == Qt::WaitCursor) {
            painted.append(watched->property("text").toString());
            m_whenPainted();
        }
        return QObject::eventFilter(watched, event);
    }

    QStringList painted;

private:
    const std::function<void()> m_whenPainted;
};
