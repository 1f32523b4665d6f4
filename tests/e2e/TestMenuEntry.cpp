#include "support/Files.h"
#include "support/OrdinaryProcess.h"
#include "support/Rerun.h"
#include "support/Tree.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{
const QString id = QStringLiteral(WAYFAR_APPLICATION_ID);
const QString systemData = u"/usr/local/share"_s;

// A copy that an ordinary user can read too: the build folder may lie in root's home.
QString readableBundle()
{
    static const QTemporaryDir folder;
    const QString copy = folder.filePath(u"WayfarRoutes_1.2.6.app"_s);
    if (!QFileInfo::exists(copy))
        runIn(folder.path(), "cp -r '" BUNDLE "' . && chmod 755 .");
    return copy;
}

// A folder of a player's with a bundle in it, whose start leaves a mark, and a folder for the desktop's data.
class Games
{
public:
    explicit Games(const QString &name = u"games"_s) : m_name(name)
    {
        runIn(folder(), "cp -r '" + readableBundle().toUtf8() + "' .");
        makeFile(toPath(bundle() + u"/AppRun"_s), "#!/bin/sh\necho started >\"" + at(u"mark"_s).toUtf8() + "\"\n",
                 0755);
        makeFile(toPath(at(u"data/applications/theirs.desktop"_s)));
        environment.insert(u"XDG_DATA_HOME"_s, data());
    }

    QString at(const QString &name) const { return m_world.filePath(name); }
    QString folder() const { return at(m_name); }
    QString bundle() const { return folder() + u"/WayfarRoutes_1.2.6.app"_s; }
    QString data() const { return at(u"data"_s); }
    QString starter() const { return folder() + u"/wayfar-installer"_s; }
    QByteArrayList tree() const { return treeOf(m_world.path()); }

    // What it says; the test fails when it ends with another status.
    QByteArray menuEntry(const QStringList &arguments = {}, int status = 0) const
    {
        QProcess script;
        script.setProcessEnvironment(environment);
        script.setWorkingDirectory(m_world.path());
        script.setProcessChannelMode(QProcess::MergedChannels);
        script.start(bundle() + u"/usr/bin/wayfar-menu-entry"_s, arguments);
        script.waitForFinished();
        const QByteArray said = script.readAll();
        [&] {
            QVERIFY2(script.exitStatus() == QProcess::NormalExit && script.exitCode() == status, said.constData());
        }();
        return said;
    }

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

private:
    const QTemporaryDir m_world;
    const QString m_name;
};

QString entryIn(const QString &data)
{
    return data + u"/applications/"_s + id + u".desktop"_s;
}

QStringList iconsIn(const QString &data)
{
    QStringList icons;
    for (const QString &size : {u"16x16"_s, u"22x22"_s, u"24x24"_s, u"32x32"_s, u"48x48"_s, u"64x64"_s, u"128x128"_s,
                                u"256x256"_s, u"512x512"_s})
        icons.append(data + u"/icons/hicolor/%1/apps/%2.png"_s.arg(size, id));
    return icons << data + u"/icons/hicolor/scalable/apps/%1.svg"_s.arg(id);
}

bool areThere(const QStringList &files)
{
    return std::ranges::all_of(files, [](const QString &file) { return QFileInfo(file).isFile(); });
}

bool launches(const QString &entry)
{
    return QProcess::execute(u"gio"_s, {u"launch"_s, entry}) == 0;
}
} // namespace

class TestMenuEntry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { readableBundle(); }
    void init();
    void cleanup() { m_player.reset(); }

    void itStartsTheStarterWhateverTheFolderIsCalled_data();
    void itStartsTheStarterWhateverTheFolderIsCalled();
    void withoutTheStarterTheDesktopShowsNoEntry();
    void itComesWithTheIconInEverySize();
    void allOfItIsTakenAwayAndNothingElse();
    void whatWasChangedSinceStays();
    void anotherFoldersEntryTakesItsPlace();
    void whereNoStarterOrEntryCanBeTheOldEntryStays_data();
    void whereNoStarterOrEntryCanBeTheOldEntryStays();
    void aRelativeDataFolderIsTakenForNone();
    void rootsIsEverybodys();

private:
    std::unique_ptr<OrdinaryProcess> m_player;
};

void TestMenuEntry::init()
{
    if (!Rerun::isRerun())
        m_player = std::make_unique<OrdinaryProcess>();
}

void TestMenuEntry::itStartsTheStarterWhateverTheFolderIsCalled_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << u"games"_s;
    QTest::newRow("blank") << u"my games"_s;
    QTest::newRow("dollar") << u"my $HOME games"_s;
    QTest::newRow("percent") << u"100%f games"_s;
    QTest::newRow("quotes") << u"my \"best\" games"_s;
    QTest::newRow("apostrophe") << u"rowan's games"_s;
    QTest::newRow("backslash") << u"a\\b games"_s;
    QTest::newRow("backslash before an escape's letter") << u"a\\new games"_s;
    QTest::newRow("equals sign") << u"a=b games"_s;
    QTest::newRow("backquote") << u"a`b games"_s;
    QTest::newRow("ampersand and bar") << u"a&b|c games"_s;
    QTest::newRow("beyond ASCII") << u"Spiele für Rowan"_s;
}

void TestMenuEntry::itStartsTheStarterWhateverTheFolderIsCalled()
{
    QFETCH(const QString, name);
    const Games games(name);
    games.menuEntry();
    QVERIFY(QFileInfo(games.starter()).isExecutable());
    QVERIFY(launches(entryIn(games.data()))); // the desktop's own reading of the entry
    QTRY_COMPARE_WITH_TIMEOUT(FileManager::contentsOfFile(toPath(games.at(u"mark"_s))), QByteArray("started\n"), 10000);
    games.menuEntry({u"--remove"_s});
    QVERIFY(!QFile::exists(games.starter()));
}

void TestMenuEntry::withoutTheStarterTheDesktopShowsNoEntry()
{
    const Games games(u"my \\100% \"games\""_s);
    games.menuEntry();
    QVERIFY(QFile::remove(games.starter()));
    QVERIFY(!launches(entryIn(games.data())));
}

void TestMenuEntry::itComesWithTheIconInEverySize()
{
    const Games games;
    games.menuEntry();
    QVERIFY(areThere(iconsIn(games.data())));
}

void TestMenuEntry::allOfItIsTakenAwayAndNothingElse()
{
    const Games games(u"my \\best games"_s);
    makeFile(toPath(games.data() + u"/icons/hicolor/16x16/apps/theirs.png"_s));
    const QByteArrayList before = games.tree();
    games.menuEntry();
    games.menuEntry(); // once more is the same
    games.menuEntry({u"--remove"_s});
    QCOMPARE(games.tree(), before);
    games.menuEntry({u"--remove"_s}); // and nothing to take away is no failure
    QCOMPARE(games.tree(), before);
}

void TestMenuEntry::whatWasChangedSinceStays()
{
    const Games games;
    games.menuEntry();
    const QString entry = entryIn(games.data());
    makeFile(toPath(entry), "[Desktop Entry]\nName=My own\n");
    QVERIFY(games.menuEntry({u"--remove"_s}).contains("Kept, since it was changed: " + entry.toUtf8()));
    QVERIFY(QFile::exists(entry));
    QVERIFY(!QFile::exists(games.starter()) && !QFile::exists(iconsIn(games.data()).constFirst()));
}

void TestMenuEntry::anotherFoldersEntryTakesItsPlace()
{
    const Games games;
    const QString others = games.at(u"other games"_s);
    runIn(others, "cp -r '" + games.bundle().toUtf8() + "' .");
    games.menuEntry();
    QProcess::execute(
        u"env"_s,
        {u"XDG_DATA_HOME="_s + games.data(), others + u"/WayfarRoutes_1.2.6.app/usr/bin/wayfar-menu-entry"_s});
    QVERIFY(QFile::exists(others + u"/wayfar-installer"_s));
    QVERIFY(!QFile::exists(games.starter()));
    QVERIFY(launches(entryIn(games.data())));
}

void TestMenuEntry::whereNoStarterOrEntryCanBeTheOldEntryStays_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isWritable");
    QTest::newRow("another's folder") << u"games of others"_s << false;
    QTest::newRow("a line end") << u"games\nof others"_s << true;
}

void TestMenuEntry::whereNoStarterOrEntryCanBeTheOldEntryStays()
{
    QFETCH(const QString, name);
    QFETCH(const bool, isWritable);
    const Games games;
    games.menuEntry();
    Games others(name);
    others.environment = games.environment;
    if (!isWritable)
        runIn(others.folder(), "chmod a-w .");
    const QByteArrayList before = games.tree();
    QVERIFY(!others.menuEntry({}, 1).contains("The menu now"));
    QCOMPARE(games.tree(), before);
    if (!isWritable)
        runIn(others.folder(), "chmod u+w .");
}

void TestMenuEntry::aRelativeDataFolderIsTakenForNone()
{
    Games games;
    games.environment.insert(u"XDG_DATA_HOME"_s, u"data"_s);
    games.environment.insert(u"HOME"_s, games.at(u"home"_s));
    games.menuEntry();
    QVERIFY(QFile::exists(entryIn(games.at(u"home/.local/share"_s))));
    QVERIFY(!QFile::exists(entryIn(games.data())));
}

void TestMenuEntry::rootsIsEverybodys()
{
    if (!Rerun::isRerun()) {
        m_player.reset();
        if (!Rerun::canMount())
            QSKIP("The kernel allows no mounts of our own");
        Rerun::verifyPasses(Rerun::withMounts(u"mount -t tmpfs none /usr/local/share"_s, {}), {});
        return;
    }
    Games games;
    games.environment.remove(u"HOME"_s); // as some root's is
    games.environment.remove(u"XDG_DATA_HOME"_s);
    const QByteArrayList before = treeOf(systemData);
    games.menuEntry();
    QVERIFY(areThere(iconsIn(systemData)) && launches(entryIn(systemData)));
    QVERIFY(!QFile::exists(entryIn(games.data())));
    games.menuEntry({u"--remove"_s});
    QCOMPARE(treeOf(systemData), before);
}

QTEST_GUILESS_MAIN(TestMenuEntry)

#include "TestMenuEntry.moc"
