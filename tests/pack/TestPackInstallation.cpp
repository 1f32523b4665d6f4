#include "pack/PackInstallation.h"

#include "support/Installation.h"
#include "support/Tree.h"

#include "places/Preferences.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

// With the player's own rights.
class TestPackInstallation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_test = std::make_unique<Installation>(); }
    void cleanup();

    void theInstalledAddOnIsReplacedAndTheRestStays();
    void theFolderChainIsMade();
    void theFoldersNeedNoPlainNames_data();
    void theFoldersNeedNoPlainNames();
    void everyEntryIsInstalledAsItIsInTheArchive_data();
    void everyEntryIsInstalledAsItIsInTheArchive();
    void anyKindOfEntryIsReplacedAndNothingBehindALink_data();
    void anyKindOfEntryIsReplacedAndNothingBehindALink();
    void whatIsNoArchiveInstallsNothing_data();
    void whatIsNoArchiveInstallsNothing();
    void theLastArchivesEntriesAreGone();
    void aLinkAtTheExtractionFolderIsReplaced();
    void withoutASupportFolderNothingIsInstalled();
    void failuresThatAPasswordWouldNotHelpArePassedOver();

private:
    std::unique_ptr<Installation> m_test;
};

// None of these may ask or tell anything.
void TestPackInstallation::cleanup()
{
    QCOMPARE(m_test->administrator.scripts, QByteArrayList());
    QCOMPARE(m_test->failures, QStringList());
    m_test.reset();
}

void TestPackInstallation::theInstalledAddOnIsReplacedAndTheRestStays()
{
    m_test->world.installPack("1");
    m_test->world.write(m_test->addOn(u"Another/Another.toc"_s), "kept");
    m_test->install();
    QCOMPARE(m_test->entries, 1);
    QCOMPARE(m_test->installed(u"Trailbook/Trailbook.toc"_s), "## Version: 2\n");
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), "new\n");
    QVERIFY(!QFile::exists(m_test->addOn(u"Trailbook/Old.lua"_s)));
    QCOMPARE(m_test->installed(u"Another/Another.toc"_s), "kept");
    QCOMPARE(m_test->world.read(m_test->world.archive()), Installation::newPack());
    QCOMPARE(m_test->world.read(m_test->extracted(u"Trailbook/New.lua"_s)), "new\n");
}

void TestPackInstallation::theFolderChainIsMade()
{
    QVERIFY(QDir(m_test->world.gameFolder()).removeRecursively());
    m_test->install();
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), "new\n");
}

void TestPackInstallation::theFoldersNeedNoPlainNames_data()
{
    QTest::addColumn<QString>("game");
    QTest::addColumn<QString>("data");
    QTest::newRow("a slash at the end") << u"game/"_s << u"data"_s;
    QTest::newRow("apostrophes") << u"game's"_s << u"o'neill"_s;
}

void TestPackInstallation::theFoldersNeedNoPlainNames()
{
    QFETCH(const QString, game);
    QFETCH(const QString, data);
    const TestWorld &world = m_test->world;
    qputenv("XDG_DATA_HOME", world.path(data).toLocal8Bit());
    m_test->world.defaults().setObject(Preferences::installPath.key, world.path(game));
    const QString addOn = world.path(game) + u"/_retail_/Interface/AddOns/Trailbook"_s;
    world.write(addOn + u"/Old.lua"_s, "-- old\n");
    world.write(world.path(data) + u"/WayfarInstaller/download.zip"_s, Installation::newPack());
    m_test->install(std::nullopt);
    QCOMPARE(QDir(addOn).entryList(QDir::Files), (QStringList{u"New.lua"_s, u"Trailbook.toc"_s}));
}

void TestPackInstallation::everyEntryIsInstalledAsItIsInTheArchive_data()
{
    QTest::addColumn<QByteArray>("commands");
    QTest::addColumn<int>("entries");
    QTest::newRow("several") << QByteArray("mkdir one two empty; echo 1 >one/1; echo 2 >two/2; echo 3 >stray.txt") << 4;
    QTest::newRow("hidden") << QByteArray("echo seen >.hidden; mkdir .folder; echo in >.folder/.file") << 2;
    QTest::newRow("links") << QByteArray("mkdir one; echo 1 >one/1; ln -s one/1 link; ln -s gone dangling; "
                                         "ln -s 1 one/inner")
                           << 3;
    QTest::newRow("a read-only folder") << QByteArray("mkdir one; echo 1 >one/1; chmod 0555 one") << 1;
    QTest::newRow("names that are not UTF-8")
        << QByteArray("mkdir \"$(printf 'Gr\\366\\337e')\"; echo in >\"$(printf 'Gr\\366\\337e/\\344')\"") << 1;
}

void TestPackInstallation::everyEntryIsInstalledAsItIsInTheArchive()
{
    QFETCH(const QByteArray, commands);
    runIn(m_test->world.path(u"packed"_s), commands);
    m_test->install(zipOf(commands));
    QTEST(m_test->entries, "entries");
    QCOMPARE(treeOf(m_test->world.addOnFolder()), treeOf(m_test->world.path(u"packed"_s)));
}

void TestPackInstallation::anyKindOfEntryIsReplacedAndNothingBehindALink_data()
{
    QTest::addColumn<QByteArray>("before"); // in the add-on folder
    QTest::newRow("a file") << QByteArray("echo old >Trailbook");
    QTest::newRow("an empty folder") << QByteArray("mkdir Trailbook");
    QTest::newRow("a full folder") << QByteArray("mkdir -p Trailbook/Trailbook; echo old >Trailbook/New.lua");
    QTest::newRow("a link to a folder") << QByteArray("ln -s ../../../../elsewhere Trailbook");
    QTest::newRow("a link to a file") << QByteArray("ln -s ../../../../elsewhere/New.lua Trailbook");
    QTest::newRow("a dangling link") << QByteArray("ln -s ../../../../elsewhere/gone Trailbook");
    QTest::newRow("a link to itself") << QByteArray("ln -s Trailbook Trailbook");
    QTest::newRow("a pipe") << QByteArray("mkfifo Trailbook");
}

void TestPackInstallation::anyKindOfEntryIsReplacedAndNothingBehindALink()
{
    QFETCH(const QByteArray, before);
    m_test->world.write(m_test->world.path(u"elsewhere/New.lua"_s), "precious");
    const QByteArrayList elsewhere = treeOf(m_test->world.path(u"elsewhere"_s));
    runIn(m_test->world.addOnFolder(), before);
    runIn(m_test->world.path(u"packed"_s), Installation::newPackCommands);
    m_test->install();
    QCOMPARE(treeOf(m_test->world.addOnFolder()), treeOf(m_test->world.path(u"packed"_s)));
    QCOMPARE(treeOf(m_test->world.path(u"elsewhere"_s)), elsewhere);
}

void TestPackInstallation::whatIsNoArchiveInstallsNothing_data()
{
    using Bytes = std::optional<QByteArray>;
    QTest::addColumn<Bytes>("bytes");
    QTest::newRow("an error page") << Bytes("<html><body>500 Internal Server Error</body></html>\n");
    QTest::newRow("no bytes") << Bytes("");
    QTest::newRow("no file") << Bytes();
    QTest::newRow("half an archive") << Bytes(Installation::newPack().left(Installation::newPack().size() / 2));
}

void TestPackInstallation::whatIsNoArchiveInstallsNothing()
{
    QFETCH(const std::optional<QByteArray>, bytes);
    m_test->world.installPack("1");
    const QByteArrayList before = treeOf(m_test->world.addOnFolder());
    m_test->install(bytes);
    QCOMPARE(m_test->entries, 0);
    QCOMPARE(treeOf(m_test->world.addOnFolder()), before);
    QVERIFY(QDir(m_test->extracted()).isEmpty());
}

void TestPackInstallation::theLastArchivesEntriesAreGone()
{
    m_test->install(zipOf("mkdir Other; echo one >Other/one"));
    QVERIFY(QDir(m_test->addOn(u"Other"_s)).removeRecursively());
    m_test->install();
    QVERIFY(!QFile::exists(m_test->addOn(u"Other"_s)));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), "new\n");
}

void TestPackInstallation::aLinkAtTheExtractionFolderIsReplaced()
{
    const QString elsewhere = m_test->world.path(u"elsewhere"_s);
    m_test->world.write(elsewhere + u"/file"_s, "precious");
    const QByteArrayList before = treeOf(elsewhere);
    QVERIFY(QFile::link(elsewhere, m_test->world.supportFolder() + u"/installer"_s));
    m_test->install();
    QCOMPARE(treeOf(elsewhere), before);
    QCOMPARE(m_test->entries, 1);
}

void TestPackInstallation::withoutASupportFolderNothingIsInstalled()
{
    m_test->world.installPack("1");
    m_test->world.write(m_test->world.path(u"a file"_s), {});
    qputenv("XDG_DATA_HOME", m_test->world.path(u"a file"_s).toLocal8Bit());
    const QByteArray log = standardErrorOf([this] { m_test->install(std::nullopt); });
    QVERIFY2(log.contains("Unable to find or create application support directory:"), log.constData());
    QVERIFY(!log.contains("unzip"));
    QCOMPARE(m_test->entries, 0);
    QCOMPARE(m_test->installed(u"Trailbook/Old.lua"_s), "-- old\n");
}

void TestPackInstallation::failuresThatAPasswordWouldNotHelpArePassedOver()
{
    QVERIFY(QDir().rmdir(m_test->world.addOnFolder()));
    m_test->world.write(m_test->world.addOnFolder(), "a file where the folder should be");
    m_test->install();
    QCOMPARE(m_test->entries, 1);
    QCOMPARE(m_test->world.read(m_test->world.addOnFolder()), "a file where the folder should be");
}

QTEST_GUILESS_MAIN(TestPackInstallation)
#include "TestPackInstallation.moc"
