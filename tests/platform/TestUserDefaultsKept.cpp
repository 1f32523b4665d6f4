#include "platform/UserDefaults.h"

#include "support/Files.h"
#include "support/TestWorld.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

// Files that are damaged, too big, refused or behind a link: nothing of the player's is lost, and what can't be written
// is kept for the run.
class TestUserDefaultsKept : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void aDamagedFileIsSetAside_data();
    void aDamagedFileIsSetAside();
    void aDamagedFileNeverReplacesAnOlderOne();
    void aDamagedFileThatCannotBeSetAsideIsNotReplaced();
    void aFileThatCannotBeReadIsNotReplaced_data();
    void aFileThatCannotBeReadIsNotReplaced();
    void theLeftoversBesideALinksTargetAreRemoved_data();
    void theLeftoversBesideALinksTargetAreRemoved();

    void whatCannotBeWrittenIsKeptForTheRun();
    void whatCouldNotBeWrittenIsWrittenBySynchronize();

private:
    QString file() const { return m_world->path(u"own/preferences.json"_s); }
    QJsonValue onDisk(const QString &key) const { return UserDefaults(file(), {}).objectForKey(key); }

    std::unique_ptr<TestWorld> m_world;
};

void TestUserDefaultsKept::aDamagedFileIsSetAside_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("whileRunning");

    QTest::newRow("cut") << QByteArray("{\"wayfaruser\": \"an") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("no object") << QByteArray("[1, 2]") << false;
    QTest::newRow("zeros") << QByteArray(64, '\0') << false;
    QTest::newRow("damaged while running") << QByteArray("damaged") << true;
}

void TestUserDefaultsKept::aDamagedFileIsSetAside()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const bool, whileRunning);
    if (!whileRunning)
        m_world->write(file(), bytes);
    const QByteArray log = standardErrorOf([&] {
        UserDefaults defaults(file(), {});
        QVERIFY(defaults.dictionaryRepresentation().isEmpty());
        QVERIFY(!QFileInfo::exists(file()));
        if (whileRunning)
            m_world->write(file(), bytes);
        defaults.setObject(u"a"_s, 1);
    });
    QCOMPARE(log, "The preferences could not be read and were set aside as " + file().toUtf8() + ".broken\n");
    QCOMPARE(m_world->read(file() + u".broken"_s), bytes);
    QCOMPARE(onDisk(u"a"_s), QJsonValue(1));
}

void TestUserDefaultsKept::aDamagedFileNeverReplacesAnOlderOne()
{
    for (const char *bytes : {"first", "second", "third"}) {
        m_world->write(file(), bytes);
        standardErrorOf([&] { UserDefaults(file(), {}).setObject(u"a"_s, 1); });
    }
    QCOMPARE(m_world->read(file() + u".broken"_s), "first");
    QCOMPARE(m_world->read(file() + u".broken-2"_s), "second");
    QCOMPARE(m_world->read(file() + u".broken-3"_s), "third");
}

// The link lies where nothing may be renamed; what it leads to could well be replaced. A developer who owns the link's
// folder sees the link itself set aside, which keeps the file just as well.
void TestUserDefaultsKept::aDamagedFileThatCannotBeSetAsideIsNotReplaced()
{
    const FilePath target = toPath(m_world->path(u"elsewhere/real.json"_s));
    makeFile(target, "{\"wayfaruser\": \"an");
    makeFile(toPath(file() + u".lock"_s), "", 0666);
    makeLink(target, toPath(file()));
    setMode(target.parent_path(), 0777);
    setMode(toPath(m_world->path(u"own"_s)), 0555);
    standardErrorOf([&] {
        const OrdinaryUser player;
        UserDefaults defaults(file(), {});
        defaults.setObject(u"autoLaunch"_s, true);
        QCOMPARE(defaults.boolForKey(u"autoLaunch"_s), true);
    });
    QCOMPARE(m_world->read(toText(target)), "{\"wayfaruser\": \"an");
    QCOMPARE(m_world->namesIn(u"elsewhere"_s), QStringList{u"real.json"_s});
}

void TestUserDefaultsKept::aFileThatCannotBeReadIsNotReplaced_data()
{
    QTest::addColumn<bool>("isFolder"); // at a link's end; else a file of one byte too many
    QTest::addColumn<bool>("whileRunning");
    QTest::newRow("too big, at the start") << false << false;
    QTest::newRow("too big, while running") << false << true;
    QTest::newRow("a folder, at the start") << true << false;
    QTest::newRow("a folder, while running") << true << true;
}

void TestUserDefaultsKept::aFileThatCannotBeReadIsNotReplaced()
{
    QFETCH(const bool, isFolder);
    QFETCH(const bool, whileRunning);
    const FilePath place = toPath(file());
    const FilePath folder = toPath(m_world->path(u"elsewhere"_s));
    const auto putInPlace = [&] {
        makeFile(place, "{\"wayfaruser\": \"ann\"}");
        std::filesystem::resize_file(place, FileManager::MostInMemory + 1);
        if (isFolder) {
            makeFolder(folder);
            std::filesystem::remove(place);
            makeLink(folder, place);
        }
    };
    if (!whileRunning)
        putInPlace();
    const QByteArray log = standardErrorOf([&] {
        UserDefaults defaults(file(), {});
        if (whileRunning)
            putInPlace();
        defaults.setObject(u"autoLaunch"_s, true);
        QCOMPARE(defaults.boolForKey(u"autoLaunch"_s), true);
        defaults.synchronize();
        QCOMPARE(defaults.boolForKey(u"autoLaunch"_s), true);
    });
    if (isFolder)
        QCOMPARE(targetOf(place), folder);
    else
        QCOMPARE(statusOf(place).st_size, FileManager::MostInMemory + 1);
    QCOMPARE(m_world->namesIn(u"own"_s), (QStringList{u"preferences.json"_s, u"preferences.json.lock"_s}));
    QVERIFY(log.startsWith("The preferences are kept for this run only"));
}

void TestUserDefaultsKept::theLeftoversBesideALinksTargetAreRemoved_data()
{
    QTest::addColumn<bool>("relative");
    QTest::newRow("absolute link") << false;
    QTest::newRow("relative link") << true;
}

void TestUserDefaultsKept::theLeftoversBesideALinksTargetAreRemoved()
{
    QFETCH(const bool, relative);
    const QString target = m_world->path(u"elsewhere/real.json"_s);
    for (const QString &name : {target + u".new"_s, file() + u".notes"_s, target + u".broken"_s})
        m_world->write(name, "{\"wayfarpasswd\": \"secret\"}");
    m_world->write(target, "{}");
    makeLink(relative ? FilePath("../elsewhere/real.json") : toPath(target), toPath(file()));
    UserDefaults(file(), {}).setObject(u"a"_s, 1);
    QCOMPARE(m_world->namesIn(u"elsewhere"_s), (QStringList{u"real.json"_s, u"real.json.broken"_s}));
    QCOMPARE(QJsonDocument::fromJson(m_world->read(target)).object(), QJsonObject({{u"a"_s, 1}}));
    QVERIFY(QFileInfo(file()).isSymLink());
}

void TestUserDefaultsKept::whatCannotBeWrittenIsKeptForTheRun()
{
    const QString folder = m_world->path(u"own"_s);
    m_world->write(folder, "a file in the folder's place");
    UserDefaults defaults(file(), {});
    const QByteArray log = standardErrorOf([&] {
        defaults.setObject(u"loginFailed"_s, true);
        defaults.setObject(u"wayfarpasswd"_s, u"secret"_s);
        defaults.synchronize();
    });
    QCOMPARE(defaults.dictionaryRepresentation(),
             QJsonObject({{u"loginFailed"_s, true}, {u"wayfarpasswd"_s, u"secret"_s}}));
    QCOMPARE(defaults.boolForKey(u"loginFailed"_s), true);
    QCOMPARE(m_world->read(folder), "a file in the folder's place");
    // Logged once, and without values.
    QCOMPARE(log.count('\n'), 1);
    QVERIFY(log.startsWith("The preferences are kept for this run only, " + file().toUtf8()));
    QVERIFY(!log.contains("secret"));
}

void TestUserDefaultsKept::whatCouldNotBeWrittenIsWrittenBySynchronize()
{
    const FilePath parent = toPath(m_world->path(u"locked"_s));
    makeFolder(parent, 0555);
    const QString place = toText(parent / "own/preferences.json");
    UserDefaults defaults(place, {});
    const QByteArray log = standardErrorOf([&] {
        const OrdinaryUser player;
        defaults.setObject(u"a"_s, 1);
    });
    QVERIFY(log.contains("Permission denied"));
    QVERIFY(!QFileInfo::exists(place));
    setMode(parent, 0755);
    defaults.synchronize();
    QCOMPARE(UserDefaults(place, {}).objectForKey(u"a"_s), QJsonValue(1));
}

QTEST_GUILESS_MAIN(TestUserDefaultsKept)
#include "TestUserDefaultsKept.moc"
