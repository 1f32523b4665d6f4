#include "controls/ElidedLabel.h"
#include "controls/WayfarNSButton.h"
#include "places/Preferences.h"
#include "support/Modal.h"
#include "support/PanelDriver.h"
#include "support/Program.h"

#include <QDir>

using namespace Qt::StringLiterals;

// The browse buttons with the real dialog, which blocks them.
class TestSettingsBrowse : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void theChosenPathIsStoredAndShown_data();
    void theChosenPathIsStoredAndShown();
    void itOpensAtTheStoredValue_data();
    void itOpensAtTheStoredValue();
    void aCancelledDialogChangesNothing();
    void anyOtherKeyGetsAFile();
    void aSenderWithoutAKeyDoesNothing();

private:
    // Presses the button and chooses the name in the dialog that opens.
    void browse(const char *button, const QString &name)
    {
        const WhenOpen<OpenPanel> dialog([&](OpenPanel &panel) {
            const PanelDriver player(panel);
            QVERIFY(player.waitFor(name));
            player.select(name);
            player.click(player.chooseButton());
        });
        m_program->pressInSettings(button);
        QVERIFY(dialog.opened());
    }
    QString shown(const char *label) const { return m_program->settingsControl<ElidedLabel>(label)->text(); }
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
    QVERIFY(m_program->openSettings());
}

void TestSettingsBrowse::theChosenPathIsStoredAndShown_data()
{
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<QString>("name");
    QTest::newRow("the game folder") << QByteArray("installPath") << u"Player's game"_s;
    QTest::newRow("a launcher script") << QByteArray("launchPath") << u"start.sh"_s;
    QTest::newRow("a launcher bundle") << QByteArray("launchPath") << u"Launcher.app"_s;
}

// And what was typed stays when the paths are shown again.
void TestSettingsBrowse::theChosenPathIsStoredAndShown()
{
    QFETCH(const QByteArray, what);
    QFETCH(const QString, name);
    QTest::keyClicks(m_program->settingsControl("userNameField"), u"anna"_s);
    browse((what + "Button").constData(), name);
    const QString path = m_world->path(u"home/"_s + name);
    QCOMPARE(m_world->defaults().stringForKey(QString::fromLatin1(what)), path);
    QCOMPARE(shown((what + "Label").constData()), path);
    QCOMPARE(m_program->settingsControl<QLineEdit>("userNameField")->text(), u"anna"_s);
    QCOMPARE(Preferences::userName.in(m_world->defaults()), u"anna"_s);
}

void TestSettingsBrowse::itOpensAtTheStoredValue_data()
{
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("folder");
    QTest::newRow("game folder") << QByteArray("installPath") << u"game"_s << u"game"_s;
    QTest::newRow("launcher") << QByteArray("launchPath") << u"home/Launcher.app"_s << u"home"_s;
    QTest::newRow("no launcher") << QByteArray("launchPath") << QString() << u"home"_s;
}

void TestSettingsBrowse::itOpensAtTheStoredValue()
{
    QFETCH(const QByteArray, what);
    QFETCH(const QString, current);
    QFETCH(const QString, folder);
    if (!current.isEmpty())
        m_world->defaults().setObject(QString::fromLatin1(what), m_world->path(current));
    QString openedAt;
    const WhenOpen<OpenPanel> dialog([&](OpenPanel &panel) { openedAt = panel.directory().path(); });
    m_program->pressInSettings((what + "Button").constData());
    QVERIFY(dialog.opened());
    QCOMPARE(openedAt, m_world->path(folder));
}

void TestSettingsBrowse::aCancelledDialogChangesNothing()
{
    const QByteArray before = m_world->read(m_world->preferencesFile());
    for (const char *button : {"installPathButton", "launchPathButton"}) {
        const WhenOpen<OpenPanel> dialog([&](OpenPanel &panel) {
            const PanelDriver player(panel);
            QVERIFY(player.waitFor(u"Launcher.app"_s));
            player.select(u"Launcher.app"_s);
            player.click(player.cancelButton());
        });
        m_program->pressInSettings(button);
        QVERIFY(dialog.opened());
        QCOMPARE(m_world->read(m_world->preferencesFile()), before);
        QCOMPARE(shown("launchPathLabel"), u"not chosen yet"_s);
    }
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
    delegate().browser(&button);
    QVERIFY(dialog.opened());
    QCOMPARE(m_world->defaults().stringForKey(u"another"_s), m_world->path(u"home/start.sh"_s));
}

void TestSettingsBrowse::aSenderWithoutAKeyDoesNothing()
{
    const QByteArray before = m_world->read(m_world->preferencesFile());
    const QObject plain; // does not answer "buttonType"
    const WayfarNSButton unnamed; // answers with nothing
    for (const QObject *sender : {&plain, static_cast<const QObject *>(&unnamed)}) {
        delegate().browser(sender); // would block in a dialog
        QVERIFY(!QApplication::activeModalWidget());
    }
    QCOMPARE(m_world->read(m_world->preferencesFile()), before);
}

QTEST_MAIN(TestSettingsBrowse)
#include "TestSettingsBrowse.moc"
