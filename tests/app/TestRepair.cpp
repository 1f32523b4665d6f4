#include "places/Preferences.h"
#include "windows/SettingsWindow.h"
#include "support/Program.h"

#include <QDir>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
const QString repaired = u"Wayfar Installer successfully repaired Installation."_s;
}

// The repair with the player's own rights.
class TestRepair : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void itRemovesTheAddOnAndItsSavedVariables();
    void theSuccessIsToldBeforeTheVersionsAreRefreshed();
    void itStartsFromItsButton();
    void aMissingAddOnIsNoError();
    void namesThatOnlyLookAlikeStay();
    void linksGoAndWhatTheyLeadToStays();
    void otherFailuresArePassedOver();
    void anAddOnFolderThatCannotBeThereIsPassedOver();
    void unreadableFoldersInTheSettingsArePassedOver();
    void oddGameFoldersAreNoObstacle_data();
    void oddGameFoldersAreNoObstacle();
    void withoutAnyFileRemoveLuaFilesSucceeds();
    void onlyAPlayerWhoIsRefusedIsAskedForAPassword();

private:
    QString settings(const QString &name) const { return m_world->gameFolder() + u"/_retail_/WTF/"_s + name; }
    QString addOn(const QString &name) const { return m_world->addOnFolder() + u'/' + name; }
    static bool exists(const QString &path) { return FileManager::itemExists(toPath(path)); }
    QStringList told() const
    {
        QStringList texts;
        for (const AlertContent &content : m_program->alert.shown)
            texts.append(content.messageText);
        return texts;
    }
    void repair() const
    {
        const OrdinaryUser player;
        m_program->delegate.repairtInstallation();
    }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestRepair::init()
{
    m_program.reset();
    m_world = std::make_unique<TestWorld>();
    m_world->goOffline();
    m_program = std::make_unique<Program>(*m_world);
    m_program->delegate.setButtonText(u"before"_s);
}

void TestRepair::itRemovesTheAddOnAndItsSavedVariables()
{
    m_world->installPack("1.2.6");
    m_world->write(addOn(u"Other/Trailbook.lua"_s), "");
    const QStringList files = {settings(u"Account/ME/SavedVariables/Trailbook.lua"_s),
                               settings(u"Account/ME/SavedVariables/Trailbook.lua.bak"_s),
                               settings(u"Account/ME/Realm/Hero/SavedVariables/Trailbook.lua"_s),
                               settings(u"Trailbook.lua"_s)};
    for (const QString &file : files)
        m_world->write(file, "");

    m_program->delegate.repairtInstallation();
    QVERIFY(!exists(addOn(u"Trailbook"_s)));
    for (const QString &file : files)
        QVERIFY2(!exists(file), qPrintable(file));
    QVERIFY(exists(addOn(u"Other/Trailbook.lua"_s)));
    QVERIFY(exists(settings(u"Account/ME/SavedVariables"_s)));
    QCOMPARE(told(), QStringList{repaired});
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

void TestRepair::theSuccessIsToldBeforeTheVersionsAreRefreshed()
{
    m_world->installPack("1.2.6");
    m_world->useVendor(m_world->network());
    m_program = std::make_unique<Program>(*m_world);
    m_program->delegate.setButtonText(u"before"_s);
    std::optional<QString> buttonThen;
    m_program->alert.whileShown = [&] { buttonThen = m_program->delegate.buttonText(); };
    m_program->delegate.repairtInstallation();
    QCOMPARE(told(), QStringList{repaired});
    QCOMPARE(m_program->alert.shown.first().informativeText, QString());
    QCOMPARE(m_program->alert.shown.first().defaultButton, u"OK"_s);
    QCOMPARE(m_program->alert.shown.first().alternateButton, QString());
    QCOMPARE(buttonThen, u"before"_s);
    QCOMPARE(m_program->delegate.currentVersion(), u"none"_s);
    QCOMPARE(m_program->delegate.updateVersion(), u"1.2.6"_s);
    QCOMPARE(m_program->delegate.buttonText(), u"Update"_s);
}

void TestRepair::itStartsFromItsButton()
{
    m_world->installPack("1.2.6");
    m_program->delegate.openSettings();
    SettingsWindow *const window = m_program->delegate.settingsWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    auto *const button = window->findChild<QWidget *>(u"repairButton"_s);
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    QCOMPARE(told(), QStringList{repaired});
    QVERIFY(!exists(addOn(u"Trailbook"_s)));
    QVERIFY(window->isVisible());
    delete window;
}

void TestRepair::aMissingAddOnIsNoError()
{
    m_world->write(settings(u"Account/Trailbook.lua"_s), "");
    m_program->delegate.repairtInstallation();
    QVERIFY(!exists(settings(u"Account/Trailbook.lua"_s)));
    QCOMPARE(told(), QStringList{repaired});
    QCOMPARE(m_program->delegate.buttonText(), u"Update"_s);
}

void TestRepair::namesThatOnlyLookAlikeStay()
{
    const QStringList kept = {settings(u"Account/trailbook.lua"_s),
                              settings(u"Account/Trailbook.LUA"_s),
                              settings(u"Account/Trailbook.lua.bak.old"_s),
                              settings(u"Account/Trailbook.luac"_s),
                              settings(u"Account/Trailbook"_s),
                              m_world->gameFolder() + u"/_retail_/Trailbook.lua"_s,
                              m_world->gameFolder() + u"/WTF/Trailbook.lua"_s,
                              addOn(u"trailbook/x"_s),
                              addOn(u"Trailbook2/x"_s)};
    for (const QString &file : kept)
        m_world->write(file, "");
    m_world->installPack("1.2.6");
    m_program->delegate.repairtInstallation();
    for (const QString &file : kept)
        QVERIFY2(exists(file), qPrintable(file));
    QVERIFY(!exists(addOn(u"Trailbook"_s)));
}

void TestRepair::linksGoAndWhatTheyLeadToStays()
{
    m_world->write(m_world->path(u"outside/Trailbook.lua"_s), "");
    QVERIFY(QDir().mkpath(m_world->addOnFolder()));
    QVERIFY(QDir().mkpath(settings(u"Account"_s)));
    QVERIFY(QFile::link(m_world->path(u"outside"_s), addOn(u"Trailbook"_s)));
    QVERIFY(QFile::link(m_world->path(u"outside"_s), settings(u"elsewhere"_s)));
    QVERIFY(QFile::link(m_world->path(u"outside/Trailbook.lua"_s), settings(u"Account/Trailbook.lua"_s)));
    QVERIFY(QFile::link(m_world->path(u"outside"_s), settings(u"Account/Trailbook.lua.bak"_s)));
    m_program->delegate.repairtInstallation();
    QVERIFY(!exists(addOn(u"Trailbook"_s)));
    QVERIFY(!exists(settings(u"Account/Trailbook.lua"_s)));
    QVERIFY(!exists(settings(u"Account/Trailbook.lua.bak"_s)));
    QVERIFY(exists(settings(u"elsewhere/Trailbook.lua"_s)));
    QCOMPARE(told(), QStringList{repaired});
}

// The second of the two is gone with the first by the time it is its turn.
void TestRepair::otherFailuresArePassedOver()
{
    m_world->write(settings(u"Account/Trailbook.lua/Trailbook.lua.bak"_s), "");
    QCOMPARE(m_program->delegate.filesToRepair().size(), 2);
    m_program->delegate.repairtInstallation();
    QVERIFY(!exists(settings(u"Account/Trailbook.lua"_s)));
    QCOMPARE(told(), QStringList{repaired});
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

void TestRepair::anAddOnFolderThatCannotBeThereIsPassedOver()
{
    m_world->write(m_world->addOnFolder(), "a file");
    m_world->write(settings(u"Trailbook.lua"_s), "");
    m_program->delegate.repairtInstallation();
    QVERIFY(!exists(settings(u"Trailbook.lua"_s)));
    QCOMPARE(told(), QStringList{repaired});
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

void TestRepair::unreadableFoldersInTheSettingsArePassedOver()
{
    const QStringList folders = {u"open 1"_s, u"shut 1"_s, u"open 2"_s, u"shut 2"_s}; // whatever order they are read in
    for (const QString &folder : folders) {
        m_world->write(settings(folder + u"/Trailbook.lua"_s), "");
        const mode_t mode = folder.startsWith(u"open"_s) ? 0777 : 0000;
        QCOMPARE(::chmod(QFile::encodeName(settings(folder)).constData(), mode), 0);
    }
    repair();
    FileManager::makeTreeWritable(toPath(settings(QString())));
    for (const QString &folder : folders)
        QCOMPARE(exists(settings(folder + u"/Trailbook.lua"_s)), folder.startsWith(u"shut"_s));
    QCOMPARE(told(), QStringList{repaired});
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

void TestRepair::oddGameFoldersAreNoObstacle_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a blank") << u"World of Warcraft"_s;
    QTest::newRow("an apostrophe") << u"Player's game"_s;
    QTest::newRow("quotes") << u"the \"game\""_s;
    QTest::newRow("a backslash") << u"drive\\c"_s;
    QTest::newRow("a placeholder") << u"%@ %@"_s;
    QTest::newRow("a trailing slash") << u"game/"_s;
    QTest::newRow("another alphabet") << u"世界"_s;
}

void TestRepair::oddGameFoldersAreNoObstacle()
{
    QFETCH(const QString, name);
    const QString game = m_world->path(name);
    m_world->defaults().setObject(Preferences::installPath.key, game);
    m_world->write(game + u"/_retail_/Interface/AddOns/Trailbook/Trailbook.toc"_s, "");
    m_world->write(game + u"/_retail_/WTF/Trailbook.lua"_s, "");
    m_program->delegate.repairtInstallation();
    QVERIFY(!exists(game + u"/_retail_/Interface/AddOns/Trailbook"_s));
    QVERIFY(!exists(game + u"/_retail_/WTF/Trailbook.lua"_s));
    QCOMPARE(told(), QStringList{repaired});
}

void TestRepair::withoutAnyFileRemoveLuaFilesSucceeds()
{
    QVERIFY(m_program->delegate.removeLuaFiles());
    QCOMPARE(told(), QStringList());
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

void TestRepair::onlyAPlayerWhoIsRefusedIsAskedForAPassword()
{
    m_world->installPack("1.2.6");
    QCOMPARE(::chmod(QFile::encodeName(m_world->addOnFolder()).constData(), 0555), 0);
    m_program->administrator.closedFolders = {m_world->addOnFolder()};
    m_program->delegate.repairtInstallation();
    const bool isRoot = ::geteuid() == 0; // whom no mode refuses
    QVERIFY(!exists(addOn(u"Trailbook"_s)));
    QCOMPARE(m_program->administrator.scripts.size(), isRoot ? 0 : 1);
    QCOMPARE(told(), isRoot ? QStringList{repaired} : QStringList());
}

QTEST_MAIN(TestRepair)
#include "TestRepair.moc"
