#include "controls/ElidedLabel.h"
#include "controls/WayfarNSButton.h"
#include "places/Preferences.h"
#include "windows/SettingsWindow.h"
#include "support/Modal.h"
#include "support/PanelDriver.h"
#include "support/Program.h"

#include <QDir>

using namespace Qt::StringLiterals;

// The browse buttons with the real dialog, which blocks them.
class TestSettingsBrowse : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theChosenPathIsStoredAndShown_data();
    void theChosenPathIsStoredAndShown();
    void itOpensAtTheStoredValue_data();
    void itOpensAtTheStoredValue();
    void aCancelledDialogChangesNothing_data();
    void aCancelledDialogChangesNothing();
    void anyOtherKeyGetsAFile();
    void aSenderWithoutAKeyDoesNothing();
    void whatWasTypedStaysWhenThePathsAreShownAgain();

private:
    QWidget *control(const QString &name) const
    {
        return m_program->delegate.settingsWindow()->findChild<QWidget *>(name);
    }
    void press(const QString &button) const
    {
        control(button)->setFocus();
        QTest::keyClick(control(button), Qt::Key_Space);
    }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestSettingsBrowse::init()
{
    m_world = std::make_unique<TestWorld>();
    QVERIFY(QDir().mkpath(m_world->gameFolder()));
    QVERIFY(QDir().mkpath(m_world->path(u"home/Player's game"_s)));
    QVERIFY(QDir().mkpath(m_world->path(u"home/Launcher.app"_s)));
    m_world->write(m_world->path(u"home/start.sh"_s), "");
    m_world->defaults().setObject(Preferences::installPath.key, m_world->path(u"home"_s));
    m_program = std::make_unique<Program>(*m_world);
    m_program->delegate.openSettings();
    QVERIFY(QTest::qWaitForWindowActive(m_program->delegate.settingsWindow()));
}

void TestSettingsBrowse::cleanup()
{
    delete m_program->delegate.settingsWindow();
    m_program.reset();
}

void TestSettingsBrowse::theChosenPathIsStoredAndShown_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("name");
    QTest::newRow("the game folder") << u"installPathButton"_s << u"installPathLabel"_s << u"installPath"_s
                                     << u"Player's game"_s;
    QTest::newRow("a launcher script") << u"launchPathButton"_s << u"launchPathLabel"_s << u"launchPath"_s
                                       << u"start.sh"_s;
    QTest::newRow("a launcher bundle") << u"launchPathButton"_s << u"launchPathLabel"_s << u"launchPath"_s
                                       << u"Launcher.app"_s;
}

void TestSettingsBrowse::theChosenPathIsStoredAndShown()
{
    QFETCH(const QString, button);
    QFETCH(const QString, label);
    QFETCH(const QString, key);
    QFETCH(const QString, name);
    const WhenOpen<OpenPanel> dialog([&](OpenPanel &panel) {
        const PanelDriver player(panel);
        QVERIFY(player.waitFor(name));
        player.select(name);
        player.click(player.chooseButton());
    });
    press(button);
    QVERIFY(dialog.opened());
    const QString path = m_world->path(u"home/"_s + name);
    QCOMPARE(m_world->defaults().stringForKey(key), path);
    QCOMPARE(static_cast<ElidedLabel *>(control(label))->text(), path);
}

void TestSettingsBrowse::itOpensAtTheStoredValue_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("folder");
    QTest::newRow("game folder") << u"installPathButton"_s << u"installPath"_s << u"game"_s << u"game"_s;
    QTest::newRow("vanished game folder") << u"installPathButton"_s << u"installPath"_s << u"home/gone"_s << u"home"_s;
    QTest::newRow("launcher") << u"launchPathButton"_s << u"launchPath"_s << u"home/Launcher.app"_s << u"home"_s;
    QTest::newRow("vanished launcher") << u"launchPathButton"_s << u"launchPath"_s << u"game/gone/L.app"_s << u"game"_s;
    QTest::newRow("no launcher") << u"launchPathButton"_s << u"launchPath"_s << QString() << u"home"_s;
}

void TestSettingsBrowse::itOpensAtTheStoredValue()
{
    QFETCH(const QString, button);
    QFETCH(const QString, key);
    QFETCH(const QString, current);
    QFETCH(const QString, folder);
    if (!current.isEmpty())
        m_world->defaults().setObject(key, m_world->path(current));
    QString openedAt;
    const WhenOpen<OpenPanel> dialog([&](OpenPanel &panel) { openedAt = panel.directory().path(); });
    press(button);
    QVERIFY(dialog.opened());
    QCOMPARE(openedAt, m_world->path(folder));
}

void TestSettingsBrowse::aCancelledDialogChangesNothing_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("the game folder") << u"installPathButton"_s;
    QTest::newRow("the launcher") << u"launchPathButton"_s;
}

void TestSettingsBrowse::aCancelledDialogChangesNothing()
{
    QFETCH(const QString, button);
    const QByteArray before = m_world->read(m_world->preferencesFile());
    const WhenOpen<OpenPanel> dialog([&](OpenPanel &panel) {
        const PanelDriver player(panel);
        QVERIFY(player.waitFor(u"Launcher.app"_s));
        player.select(u"Launcher.app"_s);
        player.click(player.cancelButton());
    });
    press(button);
    QVERIFY(dialog.opened());
    QCOMPARE(m_world->read(m_world->preferencesFile()), before);
    QCOMPARE(static_cast<ElidedLabel *>(control(u"launchPathLabel"_s))->text(), u"not chosen yet"_s);
}

void TestSettingsBrowse::anyOtherKeyGetsAFile()
{
    WayfarNSButton button;
    button.setButtonType(u"another"_s);
    const WhenOpen<OpenPanel> dialog([&](OpenPanel &panel) {
        const PanelDriver player(panel);
        QVERIFY(player.waitFor(u"start.sh"_s));
        player.doubleClick(u"start.sh"_s);
    });
    m_program->delegate.browser(&button);
    QVERIFY(dialog.opened());
    QCOMPARE(m_world->defaults().stringForKey(u"another"_s), m_world->path(u"home/start.sh"_s));
}

void TestSettingsBrowse::aSenderWithoutAKeyDoesNothing()
{
    const QByteArray before = m_world->read(m_world->preferencesFile());
    const QObject plain; // does not answer "buttonType"
    const WayfarNSButton unnamed; // answers with nothing
    for (const QObject *sender : {&plain, static_cast<const QObject *>(&unnamed)}) {
        m_program->delegate.browser(sender); // would block in a dialog
        QVERIFY(!QApplication::activeModalWidget());
    }
    QCOMPARE(m_world->read(m_world->preferencesFile()), before);
}

void TestSettingsBrowse::whatWasTypedStaysWhenThePathsAreShownAgain()
{
    QTest::keyClicks(control(u"userNameField"_s), u"anna"_s);
    const WhenOpen<OpenPanel> dialog([&](OpenPanel &panel) {
        const PanelDriver player(panel);
        QVERIFY(player.waitFor(u"start.sh"_s));
        player.doubleClick(u"start.sh"_s);
    });
    press(u"launchPathButton"_s);
    QVERIFY(dialog.opened());
    QCOMPARE(static_cast<QLineEdit *>(control(u"userNameField"_s))->text(), u"anna"_s);
    QCOMPARE(m_world->defaults().stringForKey(Preferences::userName.key), u"anna"_s);
}

QTEST_MAIN(TestSettingsBrowse)
#include "TestSettingsBrowse.moc"
