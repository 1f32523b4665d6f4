#include "platform/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cerrno>
#include <cstdarg>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
std::atomic_int forcings = 0;
std::atomic_bool inTheCallersThread = false;
std::atomic_bool powerIsLost = false;
std::atomic_bool hasNoLinks = false;
} // namespace

// Stands in for the disk: tells who forces it, and after a loss of power forces nothing.
extern "C" int fsync(int descriptor)
{
    ++forcings;
    if (QThread::currentThread() == QCoreApplication::instance()->thread())
        inTheCallersThread = true;
    errno = EIO;
    return powerIsLost ? -1 : static_cast<int>(::syscall(SYS_fsync, descriptor));
}

std::atomic_int readings = 0; // of the preferences, by the caller

extern "C" int open(const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const int mode = (flags & O_CREAT) ? va_arg(rest, int) : 0;
    va_end(rest);
    const bool isReading = (flags & O_ACCMODE) == O_RDONLY && QByteArrayView(path).endsWith("/preferences.json");
    if (isReading && QThread::currentThread() == QCoreApplication::instance()->thread())
        ++readings;
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

// And for a file system without hard links.
extern "C" int link(const char *from, const char *to)
{
    errno = EPERM;
    return hasNoLinks ? -1 : static_cast<int>(::syscall(SYS_link, from, to));
}

// A change stands in the file at once, and is forced to disk later, once for many changes, by another thread.
class TestLateSync : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void manyChangesAreForcedOnceByAnotherThread();
    void theFileIsNotReadForEveryChange();
    void theEndForcesWhatIsWaiting();
    void afterALossOfPowerTheVersionOnDiskIsRead_data();
    void afterALossOfPowerTheVersionOnDiskIsRead();
    void aFileWithSomethingInItIsSetAside();
    void aKilledProgramsSafeCopyGoesWithTheNextStart();
    void withoutLinksTheNewVersionIsForcedBeforeItReplacesTheOldOne();

private:
    QString file() const { return m_folder->filePath(u"preferences.json"_s); }
    QString safeCopy() const { return LateSync::safeCopy(file()); }
    QString storedName() const
    {
        QFile stored(file());
        return stored.open(QIODevice::ReadOnly)
            ? QJsonDocument::fromJson(stored.readAll()).object().value(u"name"_s).toString()
            : QString();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestLateSync::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    forcings = 0;
    inTheCallersThread = false;
    powerIsLost = false;
    hasNoLinks = false;
}

void TestLateSync::manyChangesAreForcedOnceByAnotherThread()
{
    UserDefaults defaults(file(), {});
    for (const QString &name : {u"r"_s, u"ro"_s, u"row"_s}) {
        defaults.setObject(u"name"_s, name);
        QCOMPARE(storedName(), name); // as another process reads it
    }
    QVERIFY(QFile::exists(safeCopy()));
    QTRY_VERIFY(!QFile::exists(safeCopy()));
    QCOMPARE(forcings, 2); // the file and its folder
    QVERIFY(!inTheCallersThread);
}

void TestLateSync::theFileIsNotReadForEveryChange()
{
    UserDefaults defaults(file(), {});
    defaults.setObject(u"name"_s, u"r"_s);
    readings = 0;
    defaults.setObject(u"name"_s, u"ro"_s);
    QCOMPARE(readings, 0);
    {
        UserDefaults another(file(), {});
        another.setObject(u"other"_s, u"kept"_s);
    }
    readings = 0;
    defaults.setObject(u"name"_s, u"row"_s); // somebody else wrote: it is merged
    QCOMPARE(readings, 1);
    QCOMPARE(defaults.stringForKey(u"other"_s), std::optional(u"kept"_s));
}

void TestLateSync::theEndForcesWhatIsWaiting()
{
    {
        UserDefaults defaults(file(), {});
        defaults.setObject(u"name"_s, u"rowan"_s);
    }
    QCOMPARE(forcings, 2);
    QCOMPARE(storedName(), u"rowan"_s);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name),
             (QStringList{u"preferences.json"_s, u"preferences.json.lock"_s}));
}

void TestLateSync::afterALossOfPowerTheVersionOnDiskIsRead_data()
{
    QTest::addColumn<QByteArray>("torn"); // what some file systems make of a file that was not forced
    QTest::addColumn<bool>("isLinked");
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("zeros") << QByteArray(4096, '\0') << false;
    QTest::newRow("gone") << QByteArray() << false;
    QTest::newRow("behind a link") << QByteArray("") << true;
}

void TestLateSync::afterALossOfPowerTheVersionOnDiskIsRead()
{
    QFETCH(const QByteArray, torn);
    QFETCH(const bool, isLinked);
    const QString target = isLinked ? m_folder->filePath(u"elsewhere/p.json"_s) : file();
    if (isLinked) {
        QDir().mkpath(m_folder->filePath(u"elsewhere"_s));
        QVERIFY(QFile::link(target, file()));
    }
    {
        UserDefaults defaults(file(), {});
        defaults.setObject(u"name"_s, u"rowan"_s);
        defaults.forceToDisk();
        powerIsLost = true;
        defaults.setObject(u"name"_s, u"never on disk"_s);
    }
    QVERIFY(QFile::remove(target));
    QFile rest(target);
    QVERIFY(torn.isNull() || (rest.open(QIODevice::WriteOnly) && rest.write(torn) == torn.size()));
    rest.close();
    const UserDefaults defaults(file(), {});
    QCOMPARE(defaults.stringForKey(u"name"_s), std::optional(u"rowan"_s));
    QCOMPARE(storedName(), u"rowan"_s);
    QCOMPARE(QFileInfo(file()).isSymLink(), isLinked);
}

void TestLateSync::aFileWithSomethingInItIsSetAside()
{
    {
        UserDefaults defaults(file(), {});
        defaults.setObject(u"name"_s, u"rowan"_s);
        defaults.forceToDisk();
        powerIsLost = true;
        defaults.setObject(u"name"_s, u"newer"_s);
    }
    QFile byHand(file());
    QVERIFY(byHand.open(QIODevice::WriteOnly));
    byHand.write(R"({"name": "a slip of the pen")");
    byHand.close();
    const UserDefaults defaults(file(), {});
    QCOMPARE(defaults.stringForKey(u"name"_s), std::optional(u"rowan"_s));
    QVERIFY(QFile::exists(file() + u".broken"_s));
}

void TestLateSync::withoutLinksTheNewVersionIsForcedBeforeItReplacesTheOldOne()
{
    UserDefaults defaults(file(), {});
    defaults.setObject(u"name"_s, u"rowan"_s);
    defaults.forceToDisk();
    hasNoLinks = true;
    inTheCallersThread = false;
    defaults.setObject(u"name"_s, u"newer"_s);
    QVERIFY(inTheCallersThread);
    powerIsLost = true;
    defaults.setObject(u"name"_s, u"never on disk"_s);
    QCOMPARE(storedName(), u"newer"_s);
}

void TestLateSync::aKilledProgramsSafeCopyGoesWithTheNextStart()
{
    {
        UserDefaults defaults(file(), {});
        defaults.setObject(u"name"_s, u"old"_s);
        defaults.forceToDisk();
        powerIsLost = true;
        defaults.setObject(u"name"_s, u"new"_s);
    }
    QVERIFY(QFile::exists(safeCopy()));
    powerIsLost = false;
    const UserDefaults defaults(file(), {});
    QCOMPARE(defaults.stringForKey(u"name"_s), std::optional(u"new"_s));
    QTRY_VERIFY(!QFile::exists(safeCopy()));
}

QTEST_GUILESS_MAIN(TestLateSync)
#include "TestLateSync.moc"
