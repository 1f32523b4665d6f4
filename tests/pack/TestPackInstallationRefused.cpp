#include "pack/PackInstallation.h"

#include "support/Installation.h"
#include "support/OrdinaryProcess.h"
#include "support/Scripts.h"
#include "support/Tree.h"

#include "places/Preferences.h"

#include <QFileInfo>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

// The file system refuses the player, and an administrator is asked.
class TestPackInstallationRefused : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_test = std::make_unique<Installation>(); }
    void cleanup() { m_test.reset(); }

    void theFoldersReallyRefuse();
    void oneCommandPutsTheEntryInItsPlace_data();
    void oneCommandPutsTheEntryInItsPlace();
    void everyRefusedEntryHasAPromptOfItsOwn();
    void acceptedAndCancelledPromptsDoNotMix();
    void theNamesStandRawInTheCommand();
    void withoutAStoredGameFolderTheUsualOneIsAskedFor();
    void anApostropheAsksNobody();
    void anUnreadableEntryAsksNobody();
    void aRefusalBeforeAPlainCopyLeadsToTheCopyCommand_data();
    void aRefusalBeforeAPlainCopyLeadsToTheCopyCommand();
    void theLastExtractionMayHoldReadOnlyFolders();

private:
    void close(const QStringList &folders) // in the game folder
    {
        for (const QString &folder : folders)
            m_test->administrator.close(m_test->world.gameFolder() + u'/' + folder);
    }
    QByteArray script(const QString &command, const QString &entry = u"Trailbook"_s) const
    {
        return scriptOf(
            command.arg(m_test->extracted(entry), m_test->addOn(entry), m_test->world.addOnFolder()).toLocal8Bit());
    }

    std::unique_ptr<Installation> m_test;
};

namespace
{
const QString replace = u"rm -rf '%2' && cp -r '%1' '%2'"_s;
const QString makeFolder = u"mkdir -p '%3' && cp -r '%1' '%2'"_s;
const QString copy = u"cp -r '%1' '%2'"_s;

const QString addOns = u"_retail_/Interface/AddOns"_s;
const QString addOn = addOns + u"/Trailbook"_s;
const QByteArray oldAddOn = "mkdir Trailbook; echo old >Trailbook/Old.lua";
} // namespace

void TestPackInstallationRefused::theFoldersReallyRefuse()
{
    m_test->world.installPack("1");
    close({addOn, addOns});
    const OrdinaryUser player;
    QCOMPARE(FileManager::removeItem(toPath(m_test->addOn(u"Trailbook"_s))).code, FileError::NoWritePermission);
    QCOMPARE(FileManager::createDirectory(toPath(m_test->addOn(u"new"_s)), true).code, FileError::NoWritePermission);
}

void TestPackInstallationRefused::oneCommandPutsTheEntryInItsPlace_data()
{
    using Answer = std::optional<ScriptError>;
    QTest::addColumn<QByteArray>("before"); // in the add-on folder
    QTest::addColumn<QStringList>("closed");
    QTest::addColumn<QString>("command");
    QTest::addColumn<Answer>("answer"); // nothing: yes
    const auto rows = [](const char *name, const QByteArray &before, const QStringList &closed,
                         const QString &command) {
        const std::pair<const char *, Answer> answers[] = {
            {"yes", {}}, {"no", userCanceled}, {"status 1", ScriptError{1, u"cp: no"_s}}};
        for (const auto &[words, answer] : answers)
            QTest::addRow("%s, %s", name, words) << before << closed << command << answer;
    };
    rows("another's add-on", oldAddOn, {addOn, addOns}, replace);
    rows("a read-only add-on of the player's own", oldAddOn + "; chmod 0777 .", {addOn}, replace);
    rows("no add-on", ":", {addOns}, copy);
    rows("no add-on folder", "rm -r ../../../_retail_", {u""_s}, makeFolder);
    rows("a link to a folder", "ln -s ../../../../elsewhere Trailbook", {addOns}, replace);
    rows("a link to a file", "ln -s ../../../../elsewhere/precious Trailbook", {addOns}, replace);
    rows("a dangling link", "ln -s ../../../../elsewhere/gone Trailbook", {addOns}, replace);
}

void TestPackInstallationRefused::oneCommandPutsTheEntryInItsPlace()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QStringList, closed);
    QFETCH(const QString, command);
    QFETCH(const std::optional<ScriptError>, answer);
    m_test->world.write(m_test->world.path(u"elsewhere/precious"_s), "precious");
    const QByteArrayList elsewhere = treeOf(m_test->world.path(u"elsewhere"_s));
    runIn(m_test->world.addOnFolder(), before);
    close(closed);
    const QByteArrayList game = treeOf(m_test->world.gameFolder());
    m_test->administrator.refusal = answer;
    m_test->installAsThePlayer();
    QCOMPARE(m_test->administrator.scripts, QByteArrayList{script(command)});
    QCOMPARE(m_test->failures, answer && answer->number != 1 ? QStringList{u"User canceled."_s} : QStringList());
    QCOMPARE(treeOf(m_test->world.path(u"elsewhere"_s)), elsewhere);
    if (answer) {
        QCOMPARE(treeOf(m_test->world.gameFolder()), game);
        return;
    }
    QVERIFY(!QFileInfo(m_test->addOn(u"Trailbook"_s)).isSymLink());
    QCOMPARE(QDir(m_test->addOn(u"Trailbook"_s)).entryList(QDir::Files),
             (QStringList{u"New.lua"_s, u"Trailbook.toc"_s}));
}

void TestPackInstallationRefused::everyRefusedEntryHasAPromptOfItsOwn()
{
    m_test->world.installPack("1");
    close({addOn, addOns});
    m_test->installAsThePlayer(zipOf(
        "mkdir Trailbook; echo new >Trailbook/New.lua; echo stray >stray.txt; echo hidden >.hidden; ln -s gone link"));
    QByteArrayList asked = m_test->administrator.scripts;
    QByteArrayList expected = {script(replace), script(copy, u"stray.txt"_s), script(copy, u".hidden"_s),
                               script(copy, u"link"_s)};
    std::ranges::sort(asked); // the file system's own order
    std::ranges::sort(expected);
    QCOMPARE(asked, expected);
    QCOMPARE(m_test->entries, 4);
    QCOMPARE(m_test->installed(u"stray.txt"_s), "stray\n");
    QCOMPARE(m_test->installed(u".hidden"_s), "hidden\n");
    QVERIFY(QFileInfo(m_test->addOn(u"link"_s)).isSymLink());
}

void TestPackInstallationRefused::acceptedAndCancelledPromptsDoNotMix()
{
    close({addOns});
    m_test->administrator.refusal = userCanceled;
    m_test->afterFailure = [this] { m_test->administrator.refusal.reset(); }; // the player thinks better of it
    m_test->installAsThePlayer(zipOf("echo one >one; echo two >two"));
    QCOMPARE(m_test->administrator.scripts.size(), 2);
    QCOMPARE(m_test->failures, QStringList{u"User canceled."_s});
    QCOMPARE(QDir(m_test->world.addOnFolder()).entryList(QDir::Files).size(), 1);
}

void TestPackInstallationRefused::theNamesStandRawInTheCommand()
{
    close({addOns});
    m_test->installAsThePlayer(zipOf("echo in >\"$(printf 'Gr\\366\\337e %%@ $HOME')\""));
    const QByteArray name = "Gr\xf6\xdf\x65 %@ $HOME";
    QCOMPARE(m_test->administrator.scripts,
             QByteArrayList{scriptOf("cp -r '" + QFile::encodeName(m_test->extracted()) + name + "' '"
                                     + QFile::encodeName(m_test->world.addOnFolder()) + '/' + name + "'")});
    QCOMPARE(FileManager::contentsOfDirectory(toPath(m_test->world.addOnFolder())),
             QList<FilePath>{name.toStdString()});
}

void TestPackInstallationRefused::withoutAStoredGameFolderTheUsualOneIsAskedFor()
{
    const QString folder = u"/Applications/World of Warcraft/_retail_/Interface/AddOns"_s;
    QVERIFY(!QFile::exists(u"/Applications"_s)); // nobody but root may make it
    m_test->world.write(m_test->world.preferencesFile(), "{}");
    m_test->world.defaults().synchronize();
    QVERIFY(!Preferences::installPath.storedIn(m_test->world.defaults()));
    m_test->administrator.refusal = userCanceled;
    m_test->installAsThePlayer();
    QCOMPARE(m_test->administrator.scripts,
             QByteArrayList{scriptOf(
                 makeFolder.arg(m_test->extracted(u"Trailbook"_s), folder + u"/Trailbook"_s, folder).toLocal8Bit())});
    QVERIFY(!QFile::exists(u"/Applications"_s));
}

// In both paths, where the quotes of a command would pair up again.
void TestPackInstallationRefused::anApostropheAsksNobody()
{
    const TestWorld &world = m_test->world;
    const QString support = world.path(u"o'neill/data/WayfarInstaller"_s);
    const QString folder = world.path(u"o'neill/game/"_s) + addOns;
    qputenv("XDG_DATA_HOME", world.path(u"o'neill/data"_s).toLocal8Bit());
    m_test->world.defaults().setObject(Preferences::installPath.key, world.path(u"o'neill/game"_s));
    world.write(support + u"/download.zip"_s, Installation::newPack());
    world.write(folder + u"/Trailbook/Old.lua"_s, "-- old\n");
    m_test->administrator.close(folder + u"/Trailbook"_s);
    m_test->administrator.close(folder);
    giveToPlayer(world.path(u"o'neill/data"_s));
    {
        const OrdinaryUser player;
        m_test->install(std::nullopt);
    }
    QCOMPARE(m_test->administrator.scripts, QByteArrayList());
    QCOMPARE(m_test->failures, QStringList{u"sh: 1: Syntax error: Unterminated quoted string"_s});
    QCOMPARE(world.read(support + u"/installer/Trailbook/New.lua"_s), "new\n"); // the rest went on
    QCOMPARE(QDir(folder + u"/Trailbook"_s).entryList(QDir::Files), QStringList{u"Old.lua"_s});
}

// The copy's refusal of its source would carry the same number, and root's copy could not be read in the game.
void TestPackInstallationRefused::anUnreadableEntryAsksNobody()
{
    QByteArray archive = zipOf("echo sealed >sealed");
    const qsizetype entry = archive.indexOf("PK\x01\x02"); // its file mode stands at 40: only root could pack it with 0
    archive.replace(entry + 40, 2, QByteArray("\x00\x80", 2));
    m_test.reset();
    const OrdinaryProcess player;
    Installation test;
    test.install(archive);
    QCOMPARE(test.administrator.scripts, QByteArrayList());
    QCOMPARE(test.installed(u"sealed"_s), "sealed\n");
}

void TestPackInstallationRefused::aRefusalBeforeAPlainCopyLeadsToTheCopyCommand_data()
{
    QTest::addColumn<QByteArray>("before"); // all three in the game folder
    QTest::addColumn<QStringList>("closed");
    QTest::addColumn<QByteArray>("meanwhile");
    QTest::addColumn<QString>("command");
    QTest::newRow("deletion refused") << QByteArray("cd _retail_/Interface/AddOns; " + oldAddOn)
                                      << QStringList{addOn, addOns}
                                      << QByteArray("chmod -R u+w .; rm -rf _retail_/Interface/AddOns/Trailbook; "
                                                    "chmod 0777 _retail_/Interface/AddOns")
                                      << replace;
    QTest::newRow("creation refused") << QByteArray("rm -r _retail_") << QStringList{u""_s}
                                      << QByteArray("chmod u+w .; mkdir -p _retail_/Interface/AddOns; "
                                                    "chmod 0777 _retail_/Interface/AddOns")
                                      << makeFolder;
}

// Somebody mends the folder while the failure is told of. The plain copy then succeeds, but the error from before it
// stays, so that the command copies into it once more (docs/kept-on-purpose.md).
void TestPackInstallationRefused::aRefusalBeforeAPlainCopyLeadsToTheCopyCommand()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QStringList, closed);
    QFETCH(const QByteArray, meanwhile);
    QFETCH(const QString, command);
    runIn(m_test->world.gameFolder(), before);
    close(closed);
    m_test->administrator.refusal = userCanceled;
    m_test->afterFailure = [&] {
        runIn(m_test->world.gameFolder(), meanwhile);
        m_test->administrator.refusal.reset();
        m_test->administrator.closedFolders.clear();
    };
    m_test->installAsThePlayer();
    QCOMPARE(m_test->administrator.scripts, (QByteArrayList{script(command), script(copy)}));
    QCOMPARE(m_test->failures, QStringList{u"User canceled."_s});
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), "new\n");
    QCOMPARE(m_test->installed(u"Trailbook/Trailbook/New.lua"_s), "new\n");
}

void TestPackInstallationRefused::theLastExtractionMayHoldReadOnlyFolders()
{
    giveToPlayer(m_test->world.addOnFolder());
    m_test->installAsThePlayer(zipOf("mkdir -p Old/inner; echo old >Old/inner/file; chmod -R a-w Old"));
    QCOMPARE(m_test->installed(u"Old/inner/file"_s), "old\n");
    m_test->installAsThePlayer();
    QVERIFY(!QFile::exists(m_test->extracted(u"Old"_s)));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), "new\n");
    QCOMPARE(m_test->administrator.scripts, QByteArrayList());
}

QTEST_GUILESS_MAIN(TestPackInstallationRefused)
#include "TestPackInstallationRefused.moc"
