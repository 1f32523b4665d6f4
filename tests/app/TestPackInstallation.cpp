#include "support/Installation.h"

#include "places/Preferences.h"

#include <QApplication>
#include <QFileInfo>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{
const QString Installing = u"Installing..."_s;
const QString Installed = u"Update Installed."_s;
const QByteArray NewPack =
    "mkdir Trailbook; echo '## Version: 2' >Trailbook/Trailbook.toc; echo new >Trailbook/New.lua;";
} // namespace

class TestPackInstallation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_test = std::make_unique<Installation>(); }
    void cleanup();

    void theInstalledAddOnIsReplaced();
    void otherAddOnsStay();
    void theFolderChainIsMade();
    void anInstallPathMayEndInASlash();
    void everyEntryIsInstalledByItself();
    void hiddenEntriesAreInstalled();
    void entriesOfAnyKindAreReplaced_data();
    void entriesOfAnyKindAreReplaced();
    void whatALinkPointsToIsNotTouched_data();
    void whatALinkPointsToIsNotTouched();
    void linksInTheArchiveStayLinks();
    void readOnlyFoldersKeepTheirModeAndContent();
    void namesNeedNotBeUtf8();
    void anApostropheIsNoTroubleWithoutAPrompt();
    void encryptedMembersAreLeftOut();
    void whatIsNoArchiveInstallsNothing_data();
    void whatIsNoArchiveInstallsNothing();
    void anErrorPageLeavesTheButtonAtUpdate();
    void anUpdateEndsWithPlay();
    void theLastArchivesEntriesAreGone();
    void archiveAndExtractionFolderStay();
    void aLinkAtTheExtractionFolderIsReplaced();
    void withoutASupportFolderNothingIsInstalled();
    void otherFileErrorsAreNotReported();
    void theWaitIsOverAfterwards();

private:
    std::unique_ptr<Installation> m_test;
};

// None of these may ask or tell anything.
void TestPackInstallation::cleanup()
{
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>());
    QVERIFY(m_test->program.alert.shown.isEmpty());
    m_test.reset();
}

void TestPackInstallation::theInstalledAddOnIsReplaced()
{
    m_test->world.installPack("1");
    m_test->install(zipOf(NewPack));
    QCOMPARE(m_test->installed(u"Trailbook/Trailbook.toc"_s), QByteArray("## Version: 2\n"));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QVERIFY(!QFile::exists(m_test->addOn(u"Trailbook/Old.lua"_s)));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
}

void TestPackInstallation::otherAddOnsStay()
{
    m_test->world.write(m_test->addOn(u"Another/Another.toc"_s), "kept");
    m_test->install(zipOf(NewPack));
    QCOMPARE(m_test->installed(u"Another/Another.toc"_s), QByteArray("kept"));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
}

void TestPackInstallation::theFolderChainIsMade()
{
    QVERIFY(QDir(m_test->world.gameFolder()).removeRecursively());
    m_test->install(zipOf(NewPack));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
}

void TestPackInstallation::anInstallPathMayEndInASlash()
{
    m_test->world.defaults().setObject(Preferences::installPath.key, m_test->world.gameFolder() + u'/');
    m_test->world.installPack("1");
    m_test->install(zipOf(NewPack));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QVERIFY(!QFile::exists(m_test->addOn(u"Trailbook/Old.lua"_s)));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
}

void TestPackInstallation::everyEntryIsInstalledByItself()
{
    m_test->install(zipOf(NewPack + "mkdir Second; echo two >Second/two; echo stray >stray.txt; mkdir empty"));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->installed(u"Second/two"_s), QByteArray("two\n"));
    QCOMPARE(m_test->installed(u"stray.txt"_s), QByteArray("stray\n"));
    QVERIFY(QFileInfo(m_test->addOn(u"empty"_s)).isDir());
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed, Installed, Installed, Installed}));
}

void TestPackInstallation::hiddenEntriesAreInstalled()
{
    m_test->install(zipOf("echo seen >.hidden; mkdir .folder; echo in >.folder/.file"));
    QCOMPARE(m_test->installed(u".hidden"_s), QByteArray("seen\n"));
    QCOMPARE(m_test->installed(u".folder/.file"_s), QByteArray("in\n"));
}

void TestPackInstallation::entriesOfAnyKindAreReplaced_data()
{
    QTest::addColumn<QByteArray>("before"); // in the add-on folder
    QTest::newRow("a file") << QByteArray("echo old >Trailbook");
    QTest::newRow("an empty folder") << QByteArray("mkdir Trailbook");
    QTest::newRow("a full folder") << QByteArray("mkdir -p Trailbook/Trailbook; echo old >Trailbook/New.lua");
    QTest::newRow("a link to a folder") << QByteArray("mkdir other; ln -s other Trailbook");
    QTest::newRow("a dangling link") << QByteArray("ln -s gone Trailbook");
    QTest::newRow("a link to itself") << QByteArray("ln -s Trailbook Trailbook");
    QTest::newRow("a pipe") << QByteArray("mkfifo Trailbook");
}

void TestPackInstallation::entriesOfAnyKindAreReplaced()
{
    QFETCH(const QByteArray, before);
    QCOMPARE(QProcess::execute(u"sh"_s,
                               {u"-ec"_s, u"cd \"$0\"; "_s + QString::fromUtf8(before), m_test->world.addOnFolder()}),
             0);
    m_test->install(zipOf(NewPack));
    QVERIFY(QFileInfo(m_test->addOn(u"Trailbook"_s)).isDir());
    QVERIFY(!QFileInfo(m_test->addOn(u"Trailbook"_s)).isSymLink());
    QCOMPARE(QDir(m_test->addOn(u"Trailbook"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{u"New.lua"_s, u"Trailbook.toc"_s}));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
}

void TestPackInstallation::whatALinkPointsToIsNotTouched_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("dangling");
    QTest::newRow("a folder") << u"elsewhere"_s << false;
    QTest::newRow("a file") << u"elsewhere/New.lua"_s << false;
    QTest::newRow("nothing") << u"elsewhere/gone"_s << true;
}

void TestPackInstallation::whatALinkPointsToIsNotTouched()
{
    QFETCH(const QString, target);
    QFETCH(const bool, dangling);
    const QString precious = m_test->world.path(u"elsewhere/New.lua"_s);
    m_test->world.write(precious, "precious");
    QVERIFY(QFile::link(m_test->world.path(target), m_test->addOn(u"Trailbook"_s)));
    m_test->install(zipOf(NewPack));
    QVERIFY(!QFileInfo(m_test->addOn(u"Trailbook"_s)).isSymLink());
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->world.read(precious), QByteArray("precious"));
    QCOMPARE(QFile::exists(m_test->world.path(target)), !dangling);
    QCOMPARE(QDir(m_test->world.path(u"elsewhere"_s)).entryList(QDir::Files), QStringList{u"New.lua"_s});
}

void TestPackInstallation::linksInTheArchiveStayLinks()
{
    m_test->install(
        zipOf(NewPack + "ln -s Trailbook/New.lua link; ln -s gone dangling; ln -s New.lua Trailbook/inner"));
    std::error_code failure;
    const auto linkAt = [&](const QString &name) {
        return std::filesystem::read_symlink(toPath(m_test->addOn(name)), failure);
    };
    QCOMPARE(linkAt(u"link"_s), FilePath("Trailbook/New.lua"));
    QCOMPARE(linkAt(u"dangling"_s), FilePath("gone"));
    QCOMPARE(linkAt(u"Trailbook/inner"_s), FilePath("New.lua"));
    QCOMPARE(m_test->statuses.size(), 4);
}

void TestPackInstallation::readOnlyFoldersKeepTheirModeAndContent()
{
    m_test->install(zipOf(NewPack + "chmod 0555 Trailbook"));
    struct stat status = {};
    QCOMPARE(::stat(QFile::encodeName(m_test->addOn(u"Trailbook"_s)).constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0555U);
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
}

void TestPackInstallation::namesNeedNotBeUtf8()
{
    m_test->install(zipOf("mkdir \"$(printf 'Gr\\366\\337e')\"; echo in >\"$(printf 'Gr\\366\\337e/\\344')\""));
    const FilePath folder = toPath(m_test->world.addOnFolder()) / "Gr\xf6\xdf\x65";
    QCOMPARE(FileManager::contentsOfDirectory(folder), QList<FilePath>{"\xe4"});
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
}

void TestPackInstallation::anApostropheIsNoTroubleWithoutAPrompt()
{
    qputenv("XDG_DATA_HOME", m_test->world.path(u"o'neill"_s).toLocal8Bit());
    m_test->world.defaults().setObject(Preferences::installPath.key, m_test->world.path(u"game's"_s));
    m_test->world.write(m_test->world.path(u"o'neill/WayfarInstaller/download.zip"_s), zipOf(NewPack));
    m_test->install(std::nullopt);
    QCOMPARE(m_test->world.read(m_test->world.path(u"game's/_retail_/Interface/AddOns/Trailbook/New.lua"_s)),
             QByteArray("new\n"));
}

void TestPackInstallation::encryptedMembersAreLeftOut()
{
    m_test->install(zipOf("echo hidden >secret; zip -q -P word ../made.zip secret; rm secret;" + NewPack));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QVERIFY(!QFile::exists(m_test->addOn(u"secret"_s)));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
}

void TestPackInstallation::whatIsNoArchiveInstallsNothing_data()
{
    QTest::addColumn<std::optional<QByteArray>>("bytes");
    const QByteArray archive = zipOf(NewPack);
    QTest::newRow("an error page") << std::optional<QByteArray>(
        "<html><body>500 Internal Server Error</body></html>\n");
    QTest::newRow("no bytes") << std::optional<QByteArray>("");
    QTest::newRow("no file") << std::optional<QByteArray>();
    QTest::newRow("half an archive") << std::optional(archive.left(archive.size() / 2));
}

void TestPackInstallation::whatIsNoArchiveInstallsNothing()
{
    QFETCH(const std::optional<QByteArray>, bytes);
    m_test->world.installPack("1");
    m_test->install(bytes);
    QCOMPARE(m_test->statuses, QStringList{Installing});
    QCOMPARE(m_test->installed(u"Trailbook/Trailbook.toc"_s), QByteArray("## Title: Trailbook\n## Version: 1\n"));
    QVERIFY(QDir(m_test->extracted(u""_s)).isEmpty());
}

void TestPackInstallation::anErrorPageLeavesTheButtonAtUpdate()
{
    m_test->world.vendor().setPackVersion("2");
    m_test->world.installPack("1");
    m_test->world.write(m_test->world.archive(), "<html>500</html>");
    m_test->program.delegate.downloadFinishedWithResult(true);
    QCOMPARE(m_test->statuses, QStringList{Installing});
    QCOMPARE(m_test->program.delegate.currentVersion(), u"1"_s);
    QCOMPARE(m_test->program.delegate.buttonText(), u"Update"_s);
}

void TestPackInstallation::anUpdateEndsWithPlay()
{
    m_test->world.vendor().setPackVersion("2");
    m_test->world.installPack("1");
    m_test->world.write(m_test->world.archive(), zipOf(NewPack));
    m_test->program.delegate.downloadFinishedWithResult(true);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
    QCOMPARE(m_test->program.delegate.currentVersion(), u"2"_s);
    QCOMPARE(m_test->program.delegate.buttonText(), u"Play"_s);
    QCOMPARE(m_test->program.delegate.updateProgressbar(), 100.0);
}

void TestPackInstallation::theLastArchivesEntriesAreGone()
{
    m_test->install(zipOf("mkdir Other; echo one >Other/one"));
    QVERIFY(QDir(m_test->addOn(u"Other"_s)).removeRecursively());
    m_test->install(zipOf(NewPack));
    QVERIFY(!QFile::exists(m_test->addOn(u"Other"_s)));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
}

void TestPackInstallation::archiveAndExtractionFolderStay()
{
    const QByteArray archive = zipOf(NewPack);
    m_test->install(archive);
    QCOMPARE(m_test->world.read(m_test->world.archive()), archive);
    QCOMPARE(m_test->world.read(m_test->extracted(u"Trailbook/New.lua"_s)), QByteArray("new\n"));
}

void TestPackInstallation::aLinkAtTheExtractionFolderIsReplaced()
{
    const QString precious = m_test->world.path(u"elsewhere/file"_s);
    m_test->world.write(precious, "precious");
    QVERIFY(QFile::link(m_test->world.path(u"elsewhere"_s), m_test->world.supportFolder() + u"/installer"_s));
    m_test->install(zipOf(NewPack));
    QCOMPARE(m_test->world.read(precious), QByteArray("precious"));
    QCOMPARE(QDir(m_test->world.path(u"elsewhere"_s)).entryList(QDir::Files), QStringList{u"file"_s});
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
}

void TestPackInstallation::withoutASupportFolderNothingIsInstalled()
{
    m_test->world.installPack("1");
    m_test->world.write(m_test->world.path(u"a file"_s), {});
    qputenv("XDG_DATA_HOME", m_test->world.path(u"a file"_s).toLocal8Bit());
    const QByteArray log = standardErrorOf([this] { m_test->install(std::nullopt); });
    QVERIFY2(log.contains("Unable to find or create application support directory:"), log.constData());
    QVERIFY(!log.contains("unzip"));
    QCOMPARE(m_test->statuses, QStringList{Installing});
    QCOMPARE(m_test->installed(u"Trailbook/Old.lua"_s), QByteArray("-- old\n"));
}

void TestPackInstallation::otherFileErrorsAreNotReported()
{
    QVERIFY(QDir().rmdir(m_test->world.addOnFolder()));
    m_test->world.write(m_test->world.addOnFolder(), "a file where the folder should be");
    m_test->install(zipOf(NewPack));
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
    QCOMPARE(m_test->world.read(m_test->world.addOnFolder()), QByteArray("a file where the folder should be"));
}

void TestPackInstallation::theWaitIsOverAfterwards()
{
    bool waits = false;
    connect(&m_test->program.delegate, &AppDelegate::statusStrChanged, this, [this, &waits] {
        if (m_test->statuses.constLast() == Installed)
            waits = QApplication::overrideCursor() != nullptr;
    });
    m_test->install(zipOf(NewPack));
    QVERIFY(waits); // while it went on
    QVERIFY(!QApplication::overrideCursor());
}

QTEST_MAIN(TestPackInstallation)
#include "TestPackInstallation.moc"
