#include "support/OrdinaryProcess.h"
#include "support/RefusedInstallation.h"

#include "places/Preferences.h"

#include <QFileInfo>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

// The file system refuses the player, and the test plays the administrator.

namespace
{
const QString Installing = u"Installing..."_s;
const QString Installed = u"Update Installed."_s;
const QByteArray NewPack =
    "mkdir Trailbook; echo '## Version: 2' >Trailbook/Trailbook.toc; echo new >Trailbook/New.lua;";
} // namespace

class TestPackInstallationRefused : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_test = std::make_unique<RefusedInstallation>(); }
    void cleanup() { m_test.reset(); }

    void theFoldersReallyRefuse();
    void anothersAddOnIsReplacedAfterOnePrompt();
    void aMissingFolderChainIsMadeAfterOnePrompt();
    void aNewEntryIsCopiedAfterOnePrompt();
    void anUnreadableEntryAsksForNobody();
    void aReadOnlyAddOnOfThePlayersOwnIsRefusedToo();
    void aLinkIsReplacedWithoutTouchingItsTarget_data();
    void aLinkIsReplacedWithoutTouchingItsTarget();
    void theCommandsNeedNoPlainNames();
    void theDefaultFolderIsAskedForWithoutAnInstallPath();
    void everyRefusedEntryHasAPromptOfItsOwn();
    void theLastExtractionMayHoldReadOnlyFolders();

private:
    std::unique_ptr<RefusedInstallation> m_test;
};

void TestPackInstallationRefused::theFoldersReallyRefuse()
{
    m_test->closeWithAddOn();
    const OrdinaryUser player;
    QCOMPARE(FileManager::removeItem(toPath(m_test->destination())).code, FileError::NoWritePermission);
    QCOMPARE(FileManager::createDirectory(toPath(m_test->destination(u"new"_s)), true).code,
             FileError::NoWritePermission);
}

void TestPackInstallationRefused::anothersAddOnIsReplacedAfterOnePrompt()
{
    m_test->closeWithAddOn();
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>{m_test->replaceScript()});
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QVERIFY(!QFile::exists(m_test->addOn(u"Trailbook/Old.lua"_s)));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
    QVERIFY(m_test->program.alert.shown.isEmpty());
}

void TestPackInstallationRefused::aMissingFolderChainIsMadeAfterOnePrompt()
{
    m_test->closeWithoutAddOnFolder();
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>{m_test->createScript()});
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
    QVERIFY(m_test->program.alert.shown.isEmpty());
}

void TestPackInstallationRefused::aNewEntryIsCopiedAfterOnePrompt()
{
    m_test->close(m_test->world.addOnFolder());
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>{m_test->copyScript()});
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
    QVERIFY(m_test->program.alert.shown.isEmpty());
}

// The copy's refusal of its source would carry the same number, and root's copy could not be read in the game.
void TestPackInstallationRefused::anUnreadableEntryAsksForNobody()
{
    QByteArray archive = zipOf("echo sealed >sealed");
    const qsizetype entry = archive.indexOf("PK\x01\x02"); // its file mode stands at 40: only root could pack it with 0
    archive.replace(entry + 40, 2, QByteArray("\x00\x80", 2));
    m_test.reset();
    const OrdinaryProcess player;
    Installation test;
    test.install(archive);
    QCOMPARE(test.program.administrator.scripts, QList<QByteArray>());
    QCOMPARE(test.statuses, (QStringList{Installing, Installed}));
    QCOMPARE(test.installed(u"sealed"_s), QByteArray("sealed\n"));
}

void TestPackInstallationRefused::aReadOnlyAddOnOfThePlayersOwnIsRefusedToo()
{
    m_test->world.installPack("1");
    m_test->close(m_test->destination());
    Installation::giveToPlayer(m_test->world.addOnFolder());
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>{m_test->replaceScript()});
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QVERIFY(!QFile::exists(m_test->addOn(u"Trailbook/Old.lua"_s)));
}

void TestPackInstallationRefused::aLinkIsReplacedWithoutTouchingItsTarget_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("a folder") << u"elsewhere"_s;
    QTest::newRow("a file") << u"elsewhere/precious"_s;
    QTest::newRow("nothing") << u"elsewhere/gone"_s;
}

void TestPackInstallationRefused::aLinkIsReplacedWithoutTouchingItsTarget()
{
    QFETCH(const QString, target);
    m_test->world.write(m_test->world.path(u"elsewhere/precious"_s), "precious");
    QVERIFY(QFile::link(m_test->world.path(target), m_test->destination()));
    m_test->close(m_test->world.addOnFolder());
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts,
             QList<QByteArray>{m_test->replaceScript()}); // also for the dangling one, which no copy could replace
    QVERIFY(!QFileInfo(m_test->destination()).isSymLink());
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(QDir(m_test->world.path(u"elsewhere"_s)).entryList(QDir::Files), QStringList{u"precious"_s});
    QCOMPARE(m_test->world.read(m_test->world.path(u"elsewhere/precious"_s)), QByteArray("precious"));
}

void TestPackInstallationRefused::theCommandsNeedNoPlainNames()
{
    m_test->close(m_test->world.addOnFolder());
    m_test->installAsThePlayer(zipOf("echo in >\"$(printf 'Gr\\366\\337e %%@ $HOME')\""));
    const FilePath name("Gr\xf6\xdf\x65 %@ $HOME");
    const auto native = [](const FilePath &path) { return QByteArray::fromStdString(path.native()); };
    QCOMPARE(m_test->program.administrator.scripts,
             QList<QByteArray>{"do shell script \"cp -r '" + native(toPath(m_test->source(u""_s)) / name) + "' '"
                               + native(toPath(m_test->destination(u""_s)) / name)
                               + "'\" with administrator privileges"});
    QCOMPARE(FileManager::contentsOfDirectory(toPath(m_test->world.addOnFolder())), QList<FilePath>{name});
}

void TestPackInstallationRefused::theDefaultFolderIsAskedForWithoutAnInstallPath()
{
    const QString folder = u"/Applications/World of Warcraft/_retail_/Interface/AddOns"_s;
    QVERIFY(!QFile::exists(u"/Applications"_s)); // nobody but root may make it
    m_test->world.write(m_test->world.preferencesFile(), "{}");
    m_test->world.defaults().synchronize();
    QVERIFY(!m_test->world.defaults().stringForKey(Preferences::installPath.key));
    m_test->program.administrator.refusal = userCanceled;
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts,
             QList<QByteArray>{m_test->scriptOf(u"mkdir -p '"_s + folder + u"' && cp -r '"_s + m_test->source()
                                                + u"' '"_s + folder + u"/Trailbook'"_s)});
    QVERIFY(!QFile::exists(u"/Applications"_s));
}

void TestPackInstallationRefused::everyRefusedEntryHasAPromptOfItsOwn()
{
    m_test->closeWithAddOn();
    m_test->installAsThePlayer(zipOf(NewPack + "echo stray >stray.txt; echo hidden >.hidden; ln -s gone link"));
    QList<QByteArray> asked = m_test->program.administrator.scripts;
    QList<QByteArray> expected = {m_test->replaceScript(), m_test->copyScript(u"stray.txt"_s),
                                  m_test->copyScript(u".hidden"_s), m_test->copyScript(u"link"_s)};
    std::ranges::sort(asked); // the file system's own order
    std::ranges::sort(expected);
    QCOMPARE(asked, expected);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed, Installed, Installed, Installed}));
    QCOMPARE(m_test->installed(u"stray.txt"_s), QByteArray("stray\n"));
    QCOMPARE(m_test->installed(u".hidden"_s), QByteArray("hidden\n"));
    QVERIFY(QFileInfo(m_test->addOn(u"link"_s)).isSymLink());
}

void TestPackInstallationRefused::theLastExtractionMayHoldReadOnlyFolders()
{
    Installation::giveToPlayer(m_test->world.addOnFolder());
    m_test->installAsThePlayer(zipOf("mkdir -p Old/inner; echo old >Old/inner/file; chmod -R a-w Old"));
    QCOMPARE(m_test->installed(u"Old/inner/file"_s), QByteArray("old\n"));
    m_test->installAsThePlayer(zipOf(NewPack));
    QVERIFY(!QFile::exists(m_test->source(u"Old"_s)));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed, Installing, Installed})); // one entry each
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>());
}

QTEST_MAIN(TestPackInstallationRefused)
#include "TestPackInstallationRefused.moc"
