#include "repair/Repair.h"

#include "support/Scripts.h"
#include "support/StandIns.h"
#include "support/TestWorld.h"
#include "support/Tree.h"
#include "support/UsualGameFolder.h"

#include "places/GameFolder.h"
#include "places/Preferences.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class TestRepair : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void theAddOnAndItsSavedSettingsGoAndNothingElse();
    void whatIsNotThereIsNoError_data();
    void whatIsNotThereIsNoError();
    void linksGoAndWhatTheyLeadToStays();
    void aFileThatWentWithItsFolderIsPassedOver();
    void unreadableFoldersInTheSettingsArePassedOver();
    void aProtectedAddOnIsOneCommandForEverything_data();
    void aProtectedAddOnIsOneCommandForEverything();
    void aProtectedFolderAroundTheAddOnCountsToo();
    void aNameThatIsNotUtf8ReachesTheCommand();
    void protectedSavedSettingsAreOneCommandThatLooksForThem();
    void theSearchLeavesLookalikesAndLinks();
    void theAdministratorsAnswerIsTheOutcome_data();
    void theAdministratorsAnswerIsTheOutcome();
    void anApostropheAsksNobodyAndDeletesNothing_data();
    void anApostropheAsksNobodyAndDeletesNothing();
    void withoutAStoredGameFolderTheSavedSettingsStay();

private:
    QString game() const { return Preferences::installPath.in(m_world->defaults()); }
    QString addOns() const { return game() + u"/_retail_/Interface/AddOns"_s; }
    QString addOn() const { return addOns() + u"/Trailbook"_s; }
    QString settings(const QString &name = {}) const
    {
        return game() + u"/_retail_/WTF"_s + (name.isEmpty() ? QString() : u'/' + name);
    }
    void write(const QStringList &files) const
    {
        for (const QString &file : files)
            m_world->write(file, "");
    }
    void useGame(const QString &name) const
    {
        m_world->defaults().setObject(Preferences::installPath.key, m_world->path(name));
        write({addOn() + u"/Trailbook.toc"_s});
        openToAll(addOn());
        openToAll(addOns());
        QVERIFY(QDir().mkpath(settings()));
    }
    Repair repair() const { return Repair(m_world->defaults(), *m_administrator); }
    // As a player whom the closed folders refuse: the add-on first, and its settings unless they went with it.
    std::optional<PrivilegedOutcome> repairAll() const
    {
        const OrdinaryUser player;
        const auto byAdministrator = repair().removeAddOn();
        return byAdministrator ? byAdministrator : repair().removeLuaFiles();
    }
    QByteArray findScript() const
    {
        return scriptOf(
            QFile::encodeName(u"find '%1' -type f -name 'Trailbook.lua' -exec rm {} + && "
                              "find '%1' -type f -name 'Trailbook.lua.bak' -exec rm {} +"_s.arg(settings())));
    }
    static bool exists(const QString &path) { return FileManager::itemExists(toPath(path)); }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Administrator> m_administrator;
};

void TestRepair::init()
{
    m_world = std::make_unique<TestWorld>();
    m_administrator = std::make_unique<Administrator>();
    useGame(u"game"_s);
}

void TestRepair::theAddOnAndItsSavedSettingsGoAndNothingElse()
{
    write({addOns() + u"/Other/Trailbook.lua"_s, addOns() + u"/trailbook/x"_s, addOns() + u"/Trailbook2/x"_s,
           settings(u"A/SavedVariables/Trailbook.luac"_s), settings(u"A/Realm/Hero/x"_s),
           game() + u"/_retail_/Trailbook.lua"_s, game() + u"/WTF/Trailbook.lua"_s});
    QVERIFY(QDir(addOn()).removeRecursively());
    const QByteArrayList before = treeOf(game());
    write({addOn() + u"/Trailbook.toc"_s, addOn() + u"/Routes/North.lua"_s, settings(u"Trailbook.lua"_s),
           settings(u"A/SavedVariables/Trailbook.lua"_s), settings(u"A/SavedVariables/Trailbook.lua.bak"_s),
           settings(u"A/Realm/Hero/Trailbook.lua"_s)});
    QVERIFY(!repair().removeAddOn());
    QVERIFY(!repair().removeLuaFiles());
    QCOMPARE(treeOf(game()), before);
    QCOMPARE(m_administrator->scripts, QByteArrayList());
}

void TestRepair::whatIsNotThereIsNoError_data()
{
    QTest::addColumn<QByteArray>("before"); // in the game folder
    QTest::newRow("no add-on") << QByteArray("rm -r _retail_/Interface/AddOns/Trailbook");
    QTest::newRow("a file in the add-on folder's place")
        << QByteArray("rm -r _retail_/Interface/AddOns; echo kept >_retail_/Interface/AddOns");
    QTest::newRow("no saved settings") << QByteArray("rm -r _retail_/Interface/AddOns/Trailbook _retail_/WTF");
}

void TestRepair::whatIsNotThereIsNoError()
{
    QFETCH(const QByteArray, before);
    runIn(game(), before);
    const QByteArrayList tree = treeOf(game());
    QVERIFY(!repairAll());
    QCOMPARE(m_administrator->scripts, QByteArrayList());
    QCOMPARE(treeOf(game()), tree);
}

void TestRepair::linksGoAndWhatTheyLeadToStays()
{
    write({m_world->path(u"outside/Trailbook.lua"_s)});
    const QByteArrayList outside = treeOf(m_world->path(u"outside"_s));
    runIn(game(),
          "rm -r _retail_/Interface/AddOns/Trailbook; ln -s ../../../../outside _retail_/Interface/AddOns/Trailbook;"
          "ln -s ../../../outside _retail_/WTF/elsewhere; ln -s ../../../outside _retail_/WTF/Trailbook.lua.bak;"
          "ln -s ../../../outside/Trailbook.lua _retail_/WTF/Trailbook.lua");
    QVERIFY(!repair().removeAddOn());
    QVERIFY(!repair().removeLuaFiles());
    QVERIFY(!exists(addOn()));
    QCOMPARE(QDir(settings()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList{u"elsewhere"_s});
    QCOMPARE(treeOf(m_world->path(u"outside"_s)), outside);
}

void TestRepair::aFileThatWentWithItsFolderIsPassedOver()
{
    write({settings(u"A/Trailbook.lua/Trailbook.lua.bak"_s)});
    QCOMPARE(repair().filesToRepair().size(), 2);
    QVERIFY(!repair().removeLuaFiles());
    QVERIFY(!exists(settings(u"A/Trailbook.lua"_s)));
    QCOMPARE(m_administrator->scripts, QByteArrayList());
}

void TestRepair::unreadableFoldersInTheSettingsArePassedOver()
{
    const QStringList folders = {u"open 1"_s, u"shut 1"_s, u"open 2"_s, u"shut 2"_s}; // whatever order they are read in
    for (const QString &folder : folders) {
        write({settings(folder + u"/Trailbook.lua"_s)});
        if (folder.startsWith(u"open"_s))
            openToAll(settings(folder));
        else
            m_administrator->close(settings(folder), 0000);
    }
    QVERIFY(!repairAll());
    FileManager::makeTreeWritable(toPath(settings()));
    for (const QString &folder : folders)
        QCOMPARE(exists(settings(folder + u"/Trailbook.lua"_s)), folder.startsWith(u"shut"_s));
    QCOMPARE(m_administrator->scripts, QByteArrayList());
}

void TestRepair::aProtectedAddOnIsOneCommandForEverything_data()
{
    QTest::addColumn<QString>("name"); // of the game folder: the paths stand raw in the command
    for (const QString &name :
         {u"game"_s, u"World of  Warcraft"_s, u"%@"_s, u"$HOME"_s, u"`id`"_s, u"a && b;c|d"_s, u"a\nb"_s, u"世界"_s})
        QTest::newRow(QString(name).replace(u'\n', u" line end "_s).toUtf8().constData()) << name;
}

void TestRepair::aProtectedAddOnIsOneCommandForEverything()
{
    QFETCH(const QString, name);
    useGame(name);
    write({settings(u"A/Trailbook.lua"_s), settings(u"A/Trailbook.lua.bak"_s)});
    const QList<FilePath> files = repair().filesToRepair(); // in the file system's own order
    QCOMPARE(files.size(), 2);
    QByteArray command = "rm -rf '" + QFile::encodeName(addOn()) + "' ";
    for (const FilePath &file : files)
        command += " && rm -rf '" + QByteArray::fromStdString(file.native()) + '\'';
    m_administrator->close(addOn());
    const auto outcome = repairAll();
    QVERIFY(outcome && outcome->done);
    QCOMPARE(m_administrator->scripts, QByteArrayList{scriptOf(command)});
    QVERIFY(!exists(addOn()));
    QCOMPARE(repair().filesToRepair(), QList<FilePath>());
}

void TestRepair::aProtectedFolderAroundTheAddOnCountsToo()
{
    m_administrator->close(addOns());
    QVERIFY(repairAll());
    QCOMPARE(m_administrator->scripts, // without files it ends in a blank
             QByteArrayList{scriptOf("rm -rf '" + QFile::encodeName(addOn()) + "' ")});
    QVERIFY(!exists(addOn()));
}

void TestRepair::aNameThatIsNotUtf8ReachesTheCommand()
{
    const FilePath account = toPath(settings()) / "caf\xe9";
    std::filesystem::create_directories(account);
    QVERIFY(!FileManager::createEmptyFile(account / "Trailbook.lua"));
    m_administrator->close(addOn());
    QVERIFY(repairAll());
    QVERIFY(m_administrator->scripts.value(0).contains("/caf\xe9/Trailbook.lua'"));
    QVERIFY(!FileManager::itemExists(account / "Trailbook.lua"));
}

// Also those that the player can't even see.
void TestRepair::protectedSavedSettingsAreOneCommandThatLooksForThem()
{
    write({settings(u"A/Trailbook.lua"_s), settings(u"A/Trailbook.lua.bak"_s), settings(u"A/B/Trailbook.lua"_s),
           settings(u"shut/Trailbook.lua.bak"_s)});
    m_administrator->close(settings(u"A/B"_s));
    m_administrator->close(settings(u"A"_s));
    m_administrator->close(settings(u"shut"_s), 0000);
    const auto outcome = repairAll();
    QVERIFY(outcome && outcome->done);
    QVERIFY(!exists(addOn())); // without an administrator
    QCOMPARE(m_administrator->scripts, QByteArrayList{findScript()});
    openToAll(settings(u"shut"_s));
    QCOMPARE(repair().filesToRepair(), QList<FilePath>());
}

void TestRepair::theSearchLeavesLookalikesAndLinks()
{
    write({m_world->path(u"outside/Trailbook.lua"_s), settings(u"A/trailbook.lua"_s),
           settings(u"A/Trailbook.lua.bak.old"_s), settings(u"A/Trailbook.luac"_s)});
    runIn(settings(u"A"_s),
          "ln -s ../../../../outside/Trailbook.lua Trailbook.lua.bak; ln -s ../../../../outside elsewhere");
    const QByteArrayList before = treeOf(settings(u"A"_s));
    write({settings(u"A/Trailbook.lua"_s)});
    m_administrator->close(settings(u"A"_s));
    QVERIFY(repairAll());
    QCOMPARE(m_administrator->scripts, QByteArrayList{findScript()});
    QCOMPARE(treeOf(settings(u"A"_s)), before);
    QVERIFY(exists(m_world->path(u"outside/Trailbook.lua"_s)));
}

void TestRepair::theAdministratorsAnswerIsTheOutcome_data()
{
    QTest::addColumn<bool>("addOnClosed"); // else the settings
    QTest::addColumn<ScriptError>("answer");
    QTest::addColumn<bool>("done");
    for (const bool addOnClosed : {true, false}) {
        const char *const what = addOnClosed ? "the add-on" : "the settings";
        QTest::addRow("%s, declined", what) << addOnClosed << userCanceled << false;
        QTest::addRow("%s, status 1", what) << addOnClosed << ScriptError{1, u"rm: cannot remove"_s} << true;
    }
}

void TestRepair::theAdministratorsAnswerIsTheOutcome()
{
    QFETCH(const bool, addOnClosed);
    QFETCH(const ScriptError, answer);
    QFETCH(const bool, done);
    write({settings(u"A/Trailbook.lua"_s), settings(u"A/Trailbook.lua.bak"_s)});
    m_administrator->close(addOnClosed ? addOn() : settings(u"A"_s));
    m_administrator->refusal = answer;
    const auto outcome = repairAll();
    QVERIFY(outcome);
    QCOMPARE(outcome->done, done);
    QCOMPARE(outcome->reason, done ? QString() : *answer.briefMessage);
    QCOMPARE(m_administrator->scripts.size(), 1);
    QCOMPARE(exists(addOn()), addOnClosed);
    QCOMPARE(repair().filesToRepair().size(), 2);
}

void TestRepair::anApostropheAsksNobodyAndDeletesNothing_data()
{
    QTest::addColumn<QString>("game");
    QTest::addColumn<QString>("account");
    QTest::addColumn<bool>("addOnClosed"); // else the settings
    QTest::newRow("in the game's path, the add-on") << u"Player's game"_s << u"A"_s << true;
    QTest::newRow("in the game's path, the settings") << u"Player's game"_s << u"A"_s << false;
    QTest::newRow("two that pair up") << u"a 'game' b"_s << u"A"_s << false;
    QTest::newRow("in an account's name") << u"game"_s << u"O'BRIEN"_s << true;
}

void TestRepair::anApostropheAsksNobodyAndDeletesNothing()
{
    QFETCH(const QString, game);
    QFETCH(const QString, account);
    QFETCH(const bool, addOnClosed);
    useGame(game);
    write({settings(account + u"/Trailbook.lua"_s)});
    m_administrator->close(addOnClosed ? addOn() : settings(account));
    const auto outcome = repairAll();
    QVERIFY(outcome && !outcome->done);
    QCOMPARE(outcome->reason, u"sh: 1: Syntax error: Unterminated quoted string"_s);
    QCOMPARE(m_administrator->scripts, QByteArrayList());
    QCOMPARE(exists(addOn()), addOnClosed);
    QVERIFY(exists(settings(account + u"/Trailbook.lua"_s)));
}

// Only the add-on is then looked for in the usual folder.
void TestRepair::withoutAStoredGameFolderTheSavedSettingsStay()
{
    if (!Rerun::isRerun())
        return runWithUsualGameFolder(m_world->path(u"root"_s));
    m_world->write(m_world->preferencesFile(), "{}");
    m_world->defaults().synchronize();
    QCOMPARE(game(), GameFolder::usualRoot.toString());
    write({addOn() + u"/Trailbook.toc"_s, settings(u"Trailbook.lua"_s)});
    m_administrator->close(addOn());
    QCOMPARE(repair().filesToRepair(), QList<FilePath>());
    (void)repairAll();
    QCOMPARE(m_administrator->scripts, QByteArrayList{scriptOf("rm -rf '" + QFile::encodeName(addOn()) + "' ")});
    QVERIFY(!exists(addOn()));
    QVERIFY(!repair().removeLuaFiles());
    QVERIFY(exists(settings(u"Trailbook.lua"_s)));
}

QTEST_GUILESS_MAIN(TestRepair)
#include "TestRepair.moc"
