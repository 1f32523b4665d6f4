#include "platform/UserDefaults.h"

#include "platform/FileManager.h"
#include "support/TestWorld.h"

#include <QDir>
#include <QJsonDocument>
#include <QTest>

#include <thread>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace
{
mode_t modeOf(const QString &path)
{
    struct stat status = {};
    return ::lstat(path.toLocal8Bit().constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

QByteArray json(const QString &key, const QJsonValue &value)
{
    return QJsonDocument(QJsonObject{{key, value}}).toJson();
}
} // namespace

class TestUserDefaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void anAbsentKeyHasNoValue();
    void aValueKeepsItsTypeAcrossRuns_data();
    void aValueKeepsItsTypeAcrossRuns();
    void aValueOfAnotherKindIsReadAsTheKindAskedFor_data();
    void aValueOfAnotherKindIsReadAsTheKindAskedFor();
    void theOldValueIsReplaced();

    void everyWriteIsOnDiskWhenTheCallReturns();
    void theFileIsTheOwnersAlone();
    void anExistingFileAndFolderAreClosedToOthers();
    void readingAloneMakesNoFile();
    void aWriteLeavesNothingButTheFileAndItsLock();
    void theTemporaryFileOfAKilledWriterIsRemoved();

    void thePlaceFollowsTheConfigurationFolders();
    void systemWideValuesLieBelowTheUsersOwn();
    void theFirstSystemWideFileIsTheStrongest();
    void theListingShowsEveryVisibleKey();
    void aSystemWideFileIsNeverWritten();
    void aDamagedSystemWideFileCountsAsEmpty();

    void aWriteKeepsWhatAnotherProcessWrote();
    void synchronizeReadsWhatAnotherProcessWrote();
    void synchronizeForgetsWhatAnotherProcessRemoved();
    void aWriteIsSeenByEveryThreadAtOnce();
    void writesOfManyThreadsAllArrive();

    void aDamagedFileIsSetAside_data();
    void aDamagedFileIsSetAside();
    void aDamagedFileNeverReplacesAnOlderOne();
    void aFileDamagedWhileRunningIsSetAsideByTheNextWrite();
    void aFileThatMayNotBeReadIsNotReplaced();

    void whatCannotBeWrittenIsKeptForTheRun();
    void whatCouldNotBeWrittenIsWrittenBySynchronize();
    void aFailureIsLoggedOnceAndWithoutValues();

private:
    QString file() const { return m_world->path(u"own/preferences.json"_s); }
    QString lockFile() const { return file() + u".lock"_s; }
    QStringList names() const;

    std::unique_ptr<TestWorld> m_world;
};

void TestUserDefaults::init()
{
    m_world = std::make_unique<TestWorld>();
}

void TestUserDefaults::cleanup()
{
    m_world.reset();
}

QStringList TestUserDefaults::names() const
{
    return QDir(m_world->path(u"own"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

void TestUserDefaults::anAbsentKeyHasNoValue()
{
    const UserDefaults defaults(file(), {});
    QVERIFY(defaults.objectForKey(u"autoLaunch"_s).isUndefined());
    QCOMPARE(defaults.stringForKey(u"installPath"_s), std::nullopt);
    QCOMPARE(defaults.boolForKey(u"loginFailed"_s), false);
    QVERIFY(defaults.dictionaryRepresentation().isEmpty());
}

void TestUserDefaults::aValueKeepsItsTypeAcrossRuns_data()
{
    QTest::addColumn<QJsonValue>("value");

    QTest::newRow("true") << QJsonValue(true);
    QTest::newRow("false") << QJsonValue(false);
    QTest::newRow("text") << QJsonValue(u"/spiele/Weg über α 💾"_s);
    QTest::newRow("empty text") << QJsonValue(u""_s);
    QTest::newRow("text that reads like a boolean") << QJsonValue(u"true"_s);
    QTest::newRow("text with quotes, lines and a zero") << QJsonValue(u"\"\\\n\t\0x"_s);
    QTest::newRow("number") << QJsonValue(7);
}

void TestUserDefaults::aValueKeepsItsTypeAcrossRuns()
{
    QFETCH(const QJsonValue, value);
    UserDefaults(file(), {}).setObject(u"key"_s, value);
    const UserDefaults later(file(), {});
    QCOMPARE(later.objectForKey(u"key"_s), value);
    if (value.isString())
        QCOMPARE(later.stringForKey(u"key"_s), value.toString());
    if (value.isBool())
        QCOMPARE(later.boolForKey(u"key"_s), value.toBool());
}

void TestUserDefaults::aValueOfAnotherKindIsReadAsTheKindAskedFor_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("truth");

    QTest::newRow("boolean as text") << QJsonValue(true) << u"true"_s << true;
    QTest::newRow("text as boolean") << QJsonValue(u"true"_s) << u"true"_s << true;
    QTest::newRow("0 as boolean") << QJsonValue(u"0"_s) << u"0"_s << false;
    QTest::newRow("empty text as boolean") << QJsonValue(u""_s) << u""_s << false;
    QTest::newRow("number as both") << QJsonValue(1) << u"1"_s << true;
    QTest::newRow("list as both") << QJsonValue(QJsonArray{1}) << u""_s << false;
}

void TestUserDefaults::aValueOfAnotherKindIsReadAsTheKindAskedFor()
{
    UserDefaults defaults(file(), {});
    QFETCH(const QJsonValue, value);
    defaults.setObject(u"key"_s, value);
    QTEST(defaults.stringForKey(u"key"_s).value(), "text");
    QTEST(defaults.boolForKey(u"key"_s), "truth");
}

void TestUserDefaults::theOldValueIsReplaced()
{
    UserDefaults defaults(file(), {});
    defaults.setObject(u"loginFailed"_s, true);
    defaults.setObject(u"loginFailed"_s, false);
    QCOMPARE(defaults.boolForKey(u"loginFailed"_s), false);
    QCOMPARE(UserDefaults(file(), {}).objectForKey(u"loginFailed"_s), QJsonValue(false));
}

void TestUserDefaults::everyWriteIsOnDiskWhenTheCallReturns()
{
    UserDefaults defaults(file(), {});
    defaults.setObject(u"wayfaruser"_s, u"ann"_s);
    QCOMPARE(QJsonDocument::fromJson(m_world->read(file())).object(), QJsonObject({{u"wayfaruser"_s, u"ann"_s}}));
    defaults.setObject(u"autoLaunch"_s, true);
    QCOMPARE(QJsonDocument::fromJson(m_world->read(file())).object(),
             QJsonObject({{u"autoLaunch"_s, true}, {u"wayfaruser"_s, u"ann"_s}}));
}

void TestUserDefaults::theFileIsTheOwnersAlone()
{
    const mode_t mask = ::umask(0);
    UserDefaults(file(), {}).setObject(u"wayfarpasswd"_s, u"secret"_s);
    ::umask(mask);
    QCOMPARE(modeOf(file()), 0600U);
    QCOMPARE(modeOf(lockFile()), 0600U);
    QCOMPARE(modeOf(m_world->path(u"own"_s)), 0700U);
}

void TestUserDefaults::anExistingFileAndFolderAreClosedToOthers()
{
    m_world->write(file(), json(u"wayfaruser"_s, u"ann"_s));
    QVERIFY(QFile::setPermissions(file(), QFile::Permissions(0x6644)));
    QVERIFY(QFile::setPermissions(m_world->path(u"own"_s), QFile::Permissions(0x7755)));
    UserDefaults(file(), {}).setObject(u"wayfarpasswd"_s, u"secret"_s);
    QCOMPARE(modeOf(file()), 0600U);
    QCOMPARE(modeOf(m_world->path(u"own"_s)), 0700U);
}

void TestUserDefaults::readingAloneMakesNoFile()
{
    UserDefaults defaults(file(), {});
    defaults.synchronize();
    QVERIFY(!QFileInfo::exists(file()));
}

void TestUserDefaults::aWriteLeavesNothingButTheFileAndItsLock()
{
    UserDefaults defaults(file(), {});
    defaults.setObject(u"a"_s, 1);
    defaults.setObject(u"b"_s, 2);
    QCOMPARE(names(), QStringList({u"preferences.json"_s, u"preferences.json.lock"_s}));
}

void TestUserDefaults::theTemporaryFileOfAKilledWriterIsRemoved()
{
    m_world->write(file() + u".new"_s, json(u"wayfarpasswd"_s, u"secret"_s));
    m_world->write(file() + u".broken"_s, "kept");
    m_world->write(file() + u".backup"_s, "kept");
    m_world->write(m_world->path(u"own/notes.txt"_s), "kept");
    UserDefaults(file(), {}).setObject(u"a"_s, 1);
    QCOMPARE(names(),
             QStringList({u"notes.txt"_s, u"preferences.json"_s, u"preferences.json.backup"_s,
                          u"preferences.json.broken"_s, u"preferences.json.lock"_s}));
}

void TestUserDefaults::thePlaceFollowsTheConfigurationFolders()
{
    qputenv("XDG_CONFIG_DIRS", (m_world->path(u"etc"_s) + u':' + m_world->path(u"etc2"_s)).toLocal8Bit());
    m_world->write(m_world->path(u"etc/WayfarInstaller/preferences.json"_s), json(u"a"_s, u"first"_s));
    m_world->write(m_world->path(u"etc2/WayfarInstaller/preferences.json"_s),
                   QJsonDocument(QJsonObject{{u"a"_s, u"second"_s}, {u"b"_s, u"second"_s}}).toJson());
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
    const QString shared = m_world->path(u"shared.json"_s);
    m_world->write(shared, QJsonDocument(QJsonObject{{u"a"_s, u"shared"_s}, {u"b"_s, true}}).toJson());
    UserDefaults defaults(file(), {shared});
    QCOMPARE(defaults.stringForKey(u"a"_s), u"shared"_s);
    QCOMPARE(defaults.boolForKey(u"b"_s), true);
    defaults.setObject(u"a"_s, u"own"_s);
    defaults.setObject(u"b"_s, false);
    QCOMPARE(defaults.stringForKey(u"a"_s), u"own"_s);
    QCOMPARE(defaults.boolForKey(u"b"_s), false);
    QCOMPARE(UserDefaults(file(), {shared}).stringForKey(u"a"_s), u"own"_s);
}

void TestUserDefaults::theFirstSystemWideFileIsTheStrongest()
{
    m_world->write(m_world->path(u"1.json"_s), json(u"a"_s, 1));
    m_world->write(m_world->path(u"2.json"_s), QJsonDocument(QJsonObject{{u"a"_s, 2}, {u"b"_s, 2}}).toJson());
    const UserDefaults defaults(file(),
                                {m_world->path(u"1.json"_s), m_world->path(u"none"_s), m_world->path(u"2.json"_s)});
    QCOMPARE(defaults.objectForKey(u"a"_s), QJsonValue(1));
    QCOMPARE(defaults.objectForKey(u"b"_s), QJsonValue(2));
}

void TestUserDefaults::theListingShowsEveryVisibleKey()
{
    m_world->write(m_world->path(u"shared.json"_s),
                   QJsonDocument(QJsonObject{{u"a"_s, u"shared"_s}, {u"b"_s, u"shared"_s}}).toJson());
    m_world->write(file(), json(u"foreign"_s, 7));
    UserDefaults defaults(file(), {m_world->path(u"shared.json"_s)});
    defaults.setObject(u"b"_s, u"own"_s);
    defaults.setObject(u"autoLaunch"_s, true);
    QCOMPARE(defaults.dictionaryRepresentation(),
             QJsonObject({{u"a"_s, u"shared"_s}, {u"autoLaunch"_s, true}, {u"b"_s, u"own"_s}, {u"foreign"_s, 7}}));
}

void TestUserDefaults::aSystemWideFileIsNeverWritten()
{
    const QString shared = m_world->path(u"shared.json"_s);
    m_world->write(shared, "{\"a\": \"shared\"}");
    UserDefaults defaults(file(), {shared});
    defaults.setObject(u"a"_s, u"own"_s);
    defaults.synchronize();
    QCOMPARE(m_world->read(shared), "{\"a\": \"shared\"}");
    QVERIFY(!m_world->read(file()).contains("shared"));
}

void TestUserDefaults::aDamagedSystemWideFileCountsAsEmpty()
{
    const QString shared = m_world->path(u"shared.json"_s);
    m_world->write(shared, "{\"a\": ");
    UserDefaults defaults(file(), {shared});
    QCOMPARE(defaults.stringForKey(u"a"_s), std::nullopt);
    QCOMPARE(m_world->read(shared), "{\"a\": ");
}

void TestUserDefaults::aWriteKeepsWhatAnotherProcessWrote()
{
    UserDefaults old(file(), {});
    UserDefaults fresh(file(), {});
    old.setObject(u"a"_s, u"old's"_s);
    fresh.setObject(u"b"_s, u"new's"_s);
    old.setObject(u"c"_s, u"old's"_s);
    QCOMPARE(UserDefaults(file(), {}).dictionaryRepresentation(),
             QJsonObject({{u"a"_s, u"old's"_s}, {u"b"_s, u"new's"_s}, {u"c"_s, u"old's"_s}}));
}

void TestUserDefaults::synchronizeReadsWhatAnotherProcessWrote()
{
    UserDefaults ours(file(), {});
    ours.setObject(u"installPath"_s, u"/aaaa"_s);
    UserDefaults(file(), {}).setObject(u"installPath"_s, u"/bbbb"_s); // of the same size, at the same moment
    QCOMPARE(ours.stringForKey(u"installPath"_s), u"/aaaa"_s);
    ours.synchronize();
    QCOMPARE(ours.stringForKey(u"installPath"_s), u"/bbbb"_s);
}

void TestUserDefaults::synchronizeForgetsWhatAnotherProcessRemoved()
{
    UserDefaults ours(file(), {});
    ours.setObject(u"installPath"_s, u"/games"_s);
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
    QCOMPARE(UserDefaults(file(), {}).dictionaryRepresentation().size(), Threads * Writes);
}

void TestUserDefaults::aDamagedFileIsSetAside_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("cut") << QByteArray("{\"wayfaruser\": \"an");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("no object") << QByteArray("[1, 2]");
    QTest::newRow("zeros") << QByteArray(64, '\0');
}

void TestUserDefaults::aDamagedFileIsSetAside()
{
    QFETCH(const QByteArray, bytes);
    m_world->write(file(), bytes);
    std::unique_ptr<UserDefaults> defaults;
    const QByteArray log = standardErrorOf([&] { defaults = std::make_unique<UserDefaults>(file(), QStringList()); });
    QVERIFY(defaults->dictionaryRepresentation().isEmpty());
    QCOMPARE(m_world->read(file() + u".broken"_s), bytes);
    QVERIFY(!QFileInfo::exists(file()));
    QCOMPARE(log, "The preferences could not be read and were set aside as " + file().toUtf8() + ".broken\n");
    defaults->setObject(u"a"_s, 1);
    QCOMPARE(UserDefaults(file(), {}).objectForKey(u"a"_s), QJsonValue(1));
}

void TestUserDefaults::aDamagedFileNeverReplacesAnOlderOne()
{
    for (const char *bytes : {"first", "second", "third"}) {
        m_world->write(file(), bytes);
        standardErrorOf([&] { UserDefaults(file(), {}).setObject(u"a"_s, 1); });
    }
    QCOMPARE(m_world->read(file() + u".broken"_s), "first");
    QCOMPARE(m_world->read(file() + u".broken-2"_s), "second");
    QCOMPARE(m_world->read(file() + u".broken-3"_s), "third");
}

void TestUserDefaults::aFileDamagedWhileRunningIsSetAsideByTheNextWrite()
{
    UserDefaults defaults(file(), {});
    defaults.setObject(u"a"_s, 1);
    m_world->write(file(), "damaged");
    standardErrorOf([&] { defaults.setObject(u"b"_s, 2); });
    QCOMPARE(m_world->read(file() + u".broken"_s), "damaged");
    QCOMPARE(UserDefaults(file(), {}).objectForKey(u"b"_s), QJsonValue(2));
}

void TestUserDefaults::aFileThatMayNotBeReadIsNotReplaced()
{
    const QString target = m_world->path(u"elsewhere"_s);
    QVERIFY(QDir().mkpath(target));
    QVERIFY(QDir().mkpath(m_world->path(u"own"_s)));
    QVERIFY(QFile::link(target, file())); // a folder: it opens for nobody
    standardErrorOf([&] {
        UserDefaults defaults(file(), {});
        defaults.setObject(u"a"_s, 1);
        QCOMPARE(defaults.objectForKey(u"a"_s), QJsonValue(1));
    });
    QCOMPARE(QFile::symLinkTarget(file()), target);
    QVERIFY(!names().contains(u"preferences.json.broken"_s));
}

void TestUserDefaults::whatCannotBeWrittenIsKeptForTheRun()
{
    const QString folder = m_world->path(u"own"_s);
    m_world->write(folder, "a file in the folder's place");
    UserDefaults defaults(file(), {});
    standardErrorOf([&] {
        defaults.setObject(u"loginFailed"_s, true);
        defaults.setObject(u"wayfaruser"_s, u"ann"_s);
        defaults.synchronize();
    });
    QCOMPARE(defaults.boolForKey(u"loginFailed"_s), true);
    QCOMPARE(defaults.dictionaryRepresentation(), QJsonObject({{u"loginFailed"_s, true}, {u"wayfaruser"_s, u"ann"_s}}));
    QCOMPARE(m_world->read(folder), "a file in the folder's place");
}

void TestUserDefaults::whatCouldNotBeWrittenIsWrittenBySynchronize()
{
    const QString parent = m_world->path(u"locked"_s);
    QVERIFY(QDir().mkpath(parent));
    QVERIFY(QFile::setPermissions(parent, QFile::Permissions(0x5555)));
    const QString place = parent + u"/own/preferences.json"_s;
    UserDefaults defaults(place, {});
    const QByteArray log = standardErrorOf([&] {
        const OrdinaryUser player;
        defaults.setObject(u"a"_s, 1);
    });
    QVERIFY(log.contains("Permission denied"));
    QVERIFY(!QFileInfo::exists(place));
    QVERIFY(QFile::setPermissions(parent, QFile::Permissions(0x7755)));
    defaults.synchronize();
    QCOMPARE(UserDefaults(place, {}).objectForKey(u"a"_s), QJsonValue(1));
}

void TestUserDefaults::aFailureIsLoggedOnceAndWithoutValues()
{
    m_world->write(m_world->path(u"own"_s), "in the way");
    UserDefaults defaults(file(), {});
    const QByteArray log = standardErrorOf([&] {
        defaults.setObject(u"wayfarpasswd"_s, u"secret"_s);
        defaults.setObject(u"wayfarpasswd"_s, u"secret2"_s);
    });
    QCOMPARE(log.count('\n'), 1);
    QVERIFY(log.startsWith("The preferences are kept for this run only, " + file().toUtf8()));
    QVERIFY(!log.contains("secret"));
}

QTEST_GUILESS_MAIN(TestUserDefaults)
#include "TestUserDefaults.moc"
