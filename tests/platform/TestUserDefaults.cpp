#include "platform/UserDefaults.h"

#include "support/Files.h"
#include "support/TestWorld.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <thread>

using namespace Qt::StringLiterals;

namespace
{
QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson();
}
} // namespace

// Values, the levels that they come from, and who else reads and writes the file. TestUserDefaultsKept tells of files
// that are damaged or refused.
class TestUserDefaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_world.reset(); }

    void anAbsentKeyHasNoValue();
    void aValueOfAnotherKindIsAbsentAndStays_data();
    void aValueOfAnotherKindIsAbsentAndStays();
    void everyWriteIsOnDiskWhenTheCallReturns();

    void theFileIsTheOwnersAlone_data();
    void theFileIsTheOwnersAlone();
    void readingAloneMakesNoFile();
    void aWriteLeavesNothingOfItsOwnBesideTheFileButTheLock();

    void thePlaceFollowsTheConfigurationFolders();
    void systemWideValuesLieBelowTheUsersOwn();
    void aSystemWideFileIsNeverWritten_data();
    void aSystemWideFileIsNeverWritten();

    void aWriteKeepsWhatAnotherProcessWrote();
    void synchronizeFollowsOtherProcesses();
    void aWriteIsSeenByEveryThreadAtOnce();
    void writesOfManyThreadsAllArrive();

private:
    QString file() const { return m_world->path(u"own/preferences.json"_s); }
    QJsonObject onDisk() const { return QJsonDocument::fromJson(m_world->read(file())).object(); }

    std::unique_ptr<TestWorld> m_world;
};

void TestUserDefaults::init()
{
    m_world = std::make_unique<TestWorld>();
}

void TestUserDefaults::anAbsentKeyHasNoValue()
{
    const UserDefaults defaults(file(), {});
    QVERIFY(defaults.objectForKey(u"autoLaunch"_s).isUndefined());
    QCOMPARE(defaults.stringForKey(u"installPath"_s), std::nullopt);
    QCOMPARE(defaults.boolForKey(u"loginFailed"_s), false);
    QVERIFY(defaults.dictionaryRepresentation().isEmpty());
}

void TestUserDefaults::aValueOfAnotherKindIsAbsentAndStays_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<std::optional<QString>>("text"); // as it is read when a text is asked for
    QTest::addColumn<bool>("truth"); // and when a boolean is

    const auto row = [](const char *rule, const QJsonValue &value, const std::optional<QString> &text, bool truth) {
        QTest::newRow(rule) << value << text << truth;
    };
    row("true", true, std::nullopt, true);
    row("false", false, std::nullopt, false);
    row("text", u"/spiele/Weg über α 💾"_s, u"/spiele/Weg über α 💾"_s, false);
    row("empty text", u""_s, u""_s, false);
    row("text that reads like true", u"true"_s, u"true"_s, false);
    row("text with quotes, lines and a zero", u"\"\\\n\t\0x"_s, u"\"\\\n\t\0x"_s, false);
    row("number", 7, std::nullopt, false);
    row("list", QJsonArray{1}, std::nullopt, false);
    row("object", QJsonObject{{u"a"_s, 1}}, std::nullopt, false);
    row("null", QJsonValue::Null, std::nullopt, false);
}

void TestUserDefaults::aValueOfAnotherKindIsAbsentAndStays()
{
    QFETCH(const QJsonValue, value);
    UserDefaults first(file(), {});
    first.setObject(u"key"_s, u"an older value"_s);
    first.setObject(u"key"_s, value);
    const UserDefaults later(file(), {});
    for (const UserDefaults *defaults : {&std::as_const(first), &later}) {
        QCOMPARE(defaults->objectForKey(u"key"_s), value); // untouched in the file
        QTEST(defaults->stringForKey(u"key"_s), "text");
        QTEST(defaults->boolForKey(u"key"_s), "truth");
    }
}

void TestUserDefaults::everyWriteIsOnDiskWhenTheCallReturns()
{
    UserDefaults defaults(file(), {});
    defaults.setObject(u"wayfaruser"_s, u"ann"_s);
    QCOMPARE(onDisk(), QJsonObject({{u"wayfaruser"_s, u"ann"_s}}));
    defaults.setObject(u"autoLaunch"_s, true);
    QCOMPARE(onDisk(), QJsonObject({{u"autoLaunch"_s, true}, {u"wayfaruser"_s, u"ann"_s}}));
}

void TestUserDefaults::theFileIsTheOwnersAlone_data()
{
    QTest::addColumn<bool>("isThere");
    QTest::newRow("a new one, under any mask") << false;
    QTest::newRow("one that was open to others") << true;
}

void TestUserDefaults::theFileIsTheOwnersAlone()
{
    QFETCH(const bool, isThere);
    if (isThere) {
        makeFile(toPath(file()), json({{u"wayfaruser"_s, u"ann"_s}}), 0644);
        setMode(toPath(m_world->path(u"own"_s)), 0755);
    }
    const mode_t mask = ::umask(0);
    UserDefaults(file(), {}).setObject(u"wayfarpasswd"_s, u"secret"_s);
    ::umask(mask);
    QCOMPARE(modeOf(toPath(file())), 0600U);
    QCOMPARE(modeOf(toPath(file() + u".lock"_s)), 0600U);
    QCOMPARE(modeOf(toPath(m_world->path(u"own"_s))), 0700U);
}

void TestUserDefaults::readingAloneMakesNoFile()
{
    UserDefaults defaults(file(), {});
    defaults.synchronize();
    QVERIFY(!QFileInfo::exists(file()));
}

// A writer that was killed leaves a file that ends in ".new", with the password in it.
void TestUserDefaults::aWriteLeavesNothingOfItsOwnBesideTheFileButTheLock()
{
    m_world->write(file() + u".new"_s, json({{u"wayfarpasswd"_s, u"secret"_s}}));
    for (const QString &name : {u".broken"_s, u".backup"_s})
        m_world->write(file() + name, "kept");
    m_world->write(m_world->path(u"own/notes.txt"_s), "kept");
    UserDefaults defaults(file(), {});
    defaults.setObject(u"a"_s, 1);
    defaults.setObject(u"b"_s, 2);
    defaults.forceToDisk();
    QCOMPARE(m_world->namesIn(u"own"_s),
             QStringList({u"notes.txt"_s, u"preferences.json"_s, u"preferences.json.backup"_s,
                          u"preferences.json.broken"_s, u"preferences.json.lock"_s}));
}

void TestUserDefaults::thePlaceFollowsTheConfigurationFolders()
{
    qputenv("XDG_CONFIG_DIRS", (m_world->path(u"etc"_s) + u':' + m_world->path(u"etc2"_s)).toLocal8Bit());
    m_world->write(m_world->path(u"etc/WayfarInstaller/preferences.json"_s), json({{u"a"_s, u"first"_s}}));
    m_world->write(m_world->path(u"etc2/WayfarInstaller/preferences.json"_s),
                   json({{u"a"_s, u"second"_s}, {u"b"_s, u"second"_s}}));
    UserDefaults defaults;
    defaults.setObject(u"c"_s, u"own"_s);
    QCOMPARE(defaults.stringForKey(u"a"_s), u"first"_s);
    QCOMPARE(defaults.stringForKey(u"b"_s), u"second"_s);
    QVERIFY(m_world->read(m_world->path(u"config/WayfarInstaller/preferences.json"_s)).contains("\"own\""));

    qunsetenv("XDG_CONFIG_HOME");
    UserDefaults().setObject(u"d"_s, u"home"_s);
    QVERIFY(m_world->read(m_world->path(u"home/.config/WayfarInstaller/preferences.json"_s)).contains("\"home\""));
}

void TestUserDefaults::systemWideValuesLieBelowTheUsersOwn()
{
    const QStringList shared = {m_world->path(u"1.json"_s), m_world->path(u"none"_s), m_world->path(u"2.json"_s)};
    m_world->write(shared.first(), json({{u"a"_s, u"first"_s}, {u"b"_s, true}}));
    m_world->write(shared.last(), json({{u"a"_s, u"last"_s}, {u"c"_s, u"last"_s}}));
    m_world->write(file(), json({{u"foreign"_s, 7}}));
    UserDefaults defaults(file(), shared);
    QCOMPARE(defaults.stringForKey(u"a"_s), u"first"_s);
    QCOMPARE(defaults.boolForKey(u"b"_s), true);
    QCOMPARE(defaults.stringForKey(u"c"_s), u"last"_s);

    defaults.setObject(u"a"_s, u"own"_s);
    defaults.setObject(u"b"_s, false);
    const QJsonObject all = {{u"a"_s, u"own"_s}, {u"b"_s, false}, {u"c"_s, u"last"_s}, {u"foreign"_s, 7}};
    QCOMPARE(defaults.stringForKey(u"a"_s), u"own"_s);
    QCOMPARE(defaults.boolForKey(u"b"_s), false);
    QCOMPARE(defaults.dictionaryRepresentation(), all);
    QCOMPARE(UserDefaults(file(), shared).dictionaryRepresentation(), all);
}

void TestUserDefaults::aSystemWideFileIsNeverWritten_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<std::optional<QString>>("value");
    QTest::newRow("whole") << QByteArray("{\"a\": \"shared\"}") << std::optional(u"shared"_s);
    QTest::newRow("damaged, which counts as empty") << QByteArray("{\"a\": ") << std::optional<QString>();
}

void TestUserDefaults::aSystemWideFileIsNeverWritten()
{
    QFETCH(const QByteArray, bytes);
    const QString shared = m_world->path(u"shared.json"_s);
    m_world->write(shared, bytes);
    UserDefaults defaults(file(), {shared});
    QTEST(defaults.stringForKey(u"a"_s), "value");
    defaults.setObject(u"a"_s, u"own"_s);
    defaults.synchronize();
    QCOMPARE(m_world->read(shared), bytes);
    QVERIFY(!m_world->read(file()).contains("shared"));
}

void TestUserDefaults::aWriteKeepsWhatAnotherProcessWrote()
{
    UserDefaults old(file(), {});
    UserDefaults fresh(file(), {});
    old.setObject(u"a"_s, u"old's"_s);
    fresh.setObject(u"b"_s, u"new's"_s);
    old.setObject(u"c"_s, u"old's"_s);
    QCOMPARE(onDisk(), QJsonObject({{u"a"_s, u"old's"_s}, {u"b"_s, u"new's"_s}, {u"c"_s, u"old's"_s}}));
}

void TestUserDefaults::synchronizeFollowsOtherProcesses()
{
    UserDefaults ours(file(), {});
    ours.setObject(u"installPath"_s, u"/aaaa"_s);
    UserDefaults(file(), {}).setObject(u"installPath"_s, u"/bbbb"_s); // of the same size, at the same moment
    QCOMPARE(ours.stringForKey(u"installPath"_s), u"/aaaa"_s);
    ours.synchronize();
    QCOMPARE(ours.stringForKey(u"installPath"_s), u"/bbbb"_s);

    QVERIFY(QFile::remove(file()));
    ours.synchronize();
    QCOMPARE(ours.stringForKey(u"installPath"_s), std::nullopt);
    QVERIFY(!QFileInfo::exists(file()));
}

void TestUserDefaults::aWriteIsSeenByEveryThreadAtOnce()
{
    UserDefaults defaults(file(), {});
    std::jthread([&] { defaults.setObject(u"loginFailed"_s, true); }).join();
    QCOMPARE(defaults.boolForKey(u"loginFailed"_s), true);
}

void TestUserDefaults::writesOfManyThreadsAllArrive()
{
    constexpr int Threads = 4;
    constexpr int Writes = 10;
    UserDefaults shared(file(), {});
    UserDefaults other(file(), {}); // stands for a second process
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < Threads; ++thread) {
            threads.emplace_back([&, thread] {
                for (int i = 0; i < Writes; ++i) {
                    (thread % 2 ? shared : other).setObject(u"%1-%2"_s.arg(thread).arg(i), i);
                    shared.synchronize();
                    (void)shared.dictionaryRepresentation();
                }
            });
        }
    }
    QCOMPARE(onDisk().size(), Threads * Writes);
}

QTEST_GUILESS_MAIN(TestUserDefaults)
#include "TestUserDefaults.moc"
