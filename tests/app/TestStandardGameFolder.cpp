#include "controls/ElidedLabel.h"
#include "places/Preferences.h"
#include "windows/SettingsWindow.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"

#include <QDir>

#include <cstdio>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace
{
const QString game = u"/Applications/World of Warcraft"_s; // in a root folder of this process alone
const QString launcher = game + u"/World of Warcraft Launcher.app"_s;
} // namespace

// Detection, and everything that falls back on the standard game folder while none is stored.
class TestStandardGameFolder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void detectionStoresBothPathsOrNone_data();
    void detectionStoresBothPathsOrNone();
    void detectionLooksNowhereElse();
    void detectionShowsWhatItStored();
    void cancelTakesADetectionBack();
    void withoutAStoredFolderTheRepairKeepsTheSavedVariables();
    void withoutAStoredFolderTheOneCommandNamesTheAddOnAlone();
    void withoutAStoredFolderTheFilesAreNotLookedFor();

private:
    void forgetTheGameFolder() const
    {
        m_world->write(m_world->preferencesFile(), "{}");
        m_world->defaults().synchronize();
    }
    void press(const QString &button) const
    {
        auto *const control = m_program->delegate.settingsWindow()->findChild<QWidget *>(button);
        control->setFocus();
        QTest::keyClick(control, Qt::Key_Space);
    }
    QString shown(const QString &label) const
    {
        return m_program->delegate.settingsWindow()->findChild<ElidedLabel *>(label)->text();
    }
    QStringList told() const
    {
        QStringList texts;
        for (const AlertContent &content : m_program->alert.shown)
            texts.append(content.messageText);
        return texts;
    }
    void open() const
    {
        m_program->delegate.openSettings();
        QVERIFY(QTest::qWaitForWindowActive(m_program->delegate.settingsWindow()));
    }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestStandardGameFolder::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->goOffline();
    m_program = std::make_unique<Program>(*m_world);
}

void TestStandardGameFolder::cleanup()
{
    delete m_program->delegate.settingsWindow();
    m_program.reset();
    FileManager::makeTreeWritable(toPath(game));
    (void)FileManager::removeItem(toPath(game));
}

void TestStandardGameFolder::detectionStoresBothPathsOrNone_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("missing"); // nothing when both are there
    const QStringList none;
    QTest::newRow("game and launcher") << QStringList{launcher} << none << QString();
    QTest::newRow("no game") << none << none << game;
    QTest::newRow("a plain file for the game") << none << QStringList{game} << game;
    QTest::newRow("no launcher in the game") << QStringList{game} << none << launcher;
    QTest::newRow("a plain file for the launcher") << none << QStringList{launcher} << launcher;
}

void TestStandardGameFolder::detectionStoresBothPathsOrNone()
{
    QFETCH(const QStringList, folders);
    QFETCH(const QStringList, files);
    QFETCH(const QString, missing);
    for (const QString &folder : folders)
        QVERIFY(QDir().mkpath(folder));
    for (const QString &file : files)
        m_world->write(file, "");
    const QByteArray before = m_world->read(m_world->preferencesFile());
    open();
    press(u"detectButton"_s);
    if (missing.isEmpty()) {
        QCOMPARE(m_world->defaults().dictionaryRepresentation(),
                 (QJsonObject{{u"installPath"_s, game}, {u"launchPath"_s, launcher}}));
        QCOMPARE(told(), QStringList());
        return;
    }
    QCOMPARE(told(), QStringList{missing + u" does not exist. Please verify you installation"_s});
    const AlertContent &alert = m_program->alert.shown.first();
    QCOMPARE(alert.informativeText + alert.alternateButton, QString());
    QCOMPARE(alert.defaultButton, u"OK"_s);
    QCOMPARE(m_world->read(m_world->preferencesFile()), before);
}

void TestStandardGameFolder::detectionLooksNowhereElse()
{
    QVERIFY(QDir().mkpath(m_world->gameFolder() + u"/World of Warcraft Launcher.app"_s)); // the stored one
    open();
    press(u"detectButton"_s);
    QCOMPARE(told(), QStringList{game + u" does not exist. Please verify you installation"_s});
    QCOMPARE(m_world->defaults().stringForKey(Preferences::installPath.key), m_world->gameFolder());
}

void TestStandardGameFolder::detectionShowsWhatItStored()
{
    QVERIFY(QDir().mkpath(launcher));
    open();
    QCOMPARE(shown(u"installPathLabel"_s), m_world->gameFolder());
    QCOMPARE(shown(u"launchPathLabel"_s), u"not chosen yet"_s);
    press(u"detectButton"_s);
    QCOMPARE(shown(u"installPathLabel"_s), game);
    QCOMPARE(shown(u"launchPathLabel"_s), launcher);
}

void TestStandardGameFolder::cancelTakesADetectionBack()
{
    QVERIFY(QDir().mkpath(launcher));
    open();
    press(u"detectButton"_s);
    press(u"cancelButton"_s);
    QCOMPARE(m_world->defaults().stringForKey(Preferences::installPath.key), m_world->gameFolder());
    QCOMPARE(m_world->defaults().stringForKey(Preferences::launchPath.key), launcher); // new, so it stays
}

void TestStandardGameFolder::withoutAStoredFolderTheRepairKeepsTheSavedVariables()
{
    forgetTheGameFolder();
    const QString file = game + u"/_retail_/WTF/Account/Trailbook.lua"_s;
    m_world->write(game + u"/_retail_/Interface/AddOns/Trailbook/Trailbook.toc"_s, "## Version: 1.2.6\n");
    m_world->write(file, "");
    m_program->delegate.repairtInstallation();
    QVERIFY(!FileManager::itemExists(toPath(game + u"/_retail_/Interface/AddOns/Trailbook"_s)));
    QVERIFY(FileManager::itemExists(toPath(file)));
    QCOMPARE(told(), QStringList{u"Wayfar Installer successfully repaired Installation."_s});
    QCOMPARE(m_program->delegate.buttonText(), u"Update"_s);
}

void TestStandardGameFolder::withoutAStoredFolderTheOneCommandNamesTheAddOnAlone()
{
    forgetTheGameFolder();
    const QString addOn = game + u"/_retail_/Interface/AddOns/Trailbook"_s;
    const QString file = game + u"/_retail_/WTF/Trailbook.lua"_s;
    m_world->write(addOn + u"/Trailbook.toc"_s, "");
    m_world->write(file, "");
    QCOMPARE(::chmod(QFile::encodeName(addOn).constData(), 0555), 0);
    m_program->administrator.closedFolders = {addOn};
    {
        const OrdinaryUser player;
        m_program->delegate.repairtInstallation();
    }
    QCOMPARE(m_program->administrator.scripts,
             (QByteArrayList{"do shell script \"rm -rf '" + QFile::encodeName(addOn)
                             + "' \" with administrator privileges"}));
    QVERIFY(!FileManager::itemExists(toPath(addOn)));
    QVERIFY(FileManager::itemExists(toPath(file)));
}

void TestStandardGameFolder::withoutAStoredFolderTheFilesAreNotLookedFor()
{
    forgetTheGameFolder();
    m_world->write(game + u"/_retail_/WTF/Trailbook.lua"_s, "");
    QCOMPARE(m_program->delegate.filesToRepair(), QList<FilePath>());
    QVERIFY(m_program->delegate.removeLuaFiles());
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

int main(int argc, char **argv)
{
    if (!enterPrivateRoot()) {
        std::fputs("This kernel lets the test have no mounts of its own: not tested.\n", stderr);
        return 77;
    }
    QTEST_SET_MAIN_SOURCE_PATH
    QApplication application(argc, argv);
    TestStandardGameFolder test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestStandardGameFolder.moc"
