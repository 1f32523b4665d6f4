#include "support/Answers.h"
#include "support/Program.h"

#include "upgrade/InstallerUpgrade.h"
#include "windows/SettingsWindow.h"

#include <QPointer>

using namespace Qt::StringLiterals;

// The player starts the program once more while it runs, or closes what it shows.
class TestSecondStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void aSplashClosedByHandComesBack();
    void aDownloadWindowClosedByHandComesBack();
    void aSettingsWindowThatClosesLateLeavesItsSuccessor();

private:
    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestSecondStart::init()
{
    m_program.reset();
    m_world = std::make_unique<TestWorld>();
    m_program = std::make_unique<Program>(*m_world);
}

void TestSecondStart::aSplashClosedByHandComesBack()
{
    m_world->vendor().setAnswer("/api/macVersion", silence());
    AppDelegate &delegate = m_program->delegate;
    delegate.applicationDidFinishLaunching();
    delegate.splashWindow()->close();
    QVERIFY(!delegate.splashWindow()->isVisible());
    delegate.bringToFront();
    QVERIFY(delegate.splashWindow()->isVisible());
    m_world->vendor().step();
    QTRY_VERIFY(!delegate.isStarting());
}

void TestSecondStart::aDownloadWindowClosedByHandComesBack()
{
    m_world->vendor().setInstallerVersion("1.3.0");
    m_world->vendor().setAnswer("/WayfarRoutes_1.3.0.zip", silence());
    QVERIFY(m_program->delegate.checkInstallerUpdate());
    auto &window = dynamic_cast<QWidget &>(*m_program->delegate.upgrade()->progressWindow());
    window.close();
    m_program->delegate.bringToFront();
    QVERIFY(window.isVisible());
}

void TestSecondStart::aSettingsWindowThatClosesLateLeavesItsSuccessor()
{
    AppDelegate &delegate = m_program->delegate;
    delegate.openSettings();
    const QPointer<SettingsWindow> first = delegate.settingsWindow();
    delegate.windowWillClose(first); // it says so, and lives on for a moment
    delegate.openSettings();
    const QPointer<SettingsWindow> second = delegate.settingsWindow();
    QVERIFY(first != second);
    first->close();
    QCOMPARE(delegate.settingsWindow(), second);
    delete first;
    delete second;
}

QTEST_MAIN(TestSecondStart)
#include "TestSecondStart.moc"
