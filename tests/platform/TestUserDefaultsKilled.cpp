#include "platform/UserDefaults.h"

#include "support/Files.h"

#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <csignal>

#include <sys/ptrace.h>
#include <sys/wait.h>

using namespace Qt::StringLiterals;

namespace
{
// A child process that runs the work and can be stopped at each entry into and return from the kernel.
class TracedChild
{
public:
    template<typename Work> explicit TracedChild(const Work &work) : m_process(::fork())
    {
        if (m_process == 0) {
            ::ptrace(PTRACE_TRACEME);
            std::raise(SIGSTOP);
            work();
            ::_exit(0);
        }
        m_isStopped = waitForStop();
    }
    ~TracedChild()
    {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, __WALL);
    }
    Q_DISABLE_COPY_MOVE(TracedChild)

    bool isStopped() const { return m_isStopped; }

    // False when the work has ended before.
    bool goOn(int stops)
    {
        while (m_isStopped && stops-- > 0) {
            ::ptrace(PTRACE_SYSCALL, m_process, 0, 0);
            m_isStopped = waitForStop();
        }
        return m_isStopped;
    }

private:
    bool waitForStop() const
    {
        int status = 0;
        return ::waitpid(m_process, &status, __WALL) == m_process && WIFSTOPPED(status);
    }

    const pid_t m_process;
    bool m_isStopped = false;
};
} // namespace

// A process can be killed between any two steps of a write. Each of them is tried.
class TestUserDefaultsKilled : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void theFileSurvivesAKillAtAnyMoment();
    void theFirstWriteSurvivesAKillAtAnyMoment();

private:
    QString file() const { return m_folder->filePath(u"own/preferences.json"_s); }
    std::optional<QJsonObject> onDisk() const;
    QStringList names() const;
    void nextWriteWorks();

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestUserDefaultsKilled::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

std::optional<QJsonObject> TestUserDefaultsKilled::onDisk() const
{
    const auto bytes = FileManager::contentsOfFile(toPath(file()));
    const QJsonDocument document = QJsonDocument::fromJson(bytes.value_or(""));
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

QStringList TestUserDefaultsKilled::names() const
{
    return QFileInfo(file()).dir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

// Without a stall too: a lock that outlived its process would hold it for ever.
void TestUserDefaultsKilled::nextWriteWorks()
{
    UserDefaults next(file(), {});
    next.setObject(u"wayfarpasswd"_s, u"next"_s);
    QCOMPARE(onDisk()->value(u"wayfarpasswd"_s), QJsonValue(u"next"_s));
    next.forceToDisk();
    QCOMPARE(names(), QStringList({u"preferences.json"_s, u"preferences.json.lock"_s}));
    QCOMPARE(modeOf(toPath(file())), 0600U);
    QCOMPARE(modeOf(toPath(QFileInfo(file()).path())), 0700U);
}

void TestUserDefaultsKilled::theFileSurvivesAKillAtAnyMoment()
{
    const QString password = u"new"_s + QString(50000, u'x'); // of several pages
    bool halfMadeSeen = false;
    int stops = 0;
    for (bool ended = false; !ended; ++stops) {
        UserDefaults old(file(), {});
        old.setObject(u"wayfarpasswd"_s, u"old"_s);
        {
            TracedChild writer([&] { old.setObject(u"wayfarpasswd"_s, password); });
            QVERIFY(stops > 0 || writer.isStopped());
            ended = !writer.goOn(stops);
        }
        const auto left = onDisk();
        QVERIFY2(left, "the file does not parse");
        const QString value = left->value(u"wayfarpasswd"_s).toString();
        QVERIFY(value == password || (value == u"old"_s && !ended));
        for (const QString &name : names()) {
            const FilePath path = toPath(QFileInfo(file()).dir().filePath(name));
            const bool holdsPassword = FileManager::contentsOfFile(path)->contains("wayfarpasswd");
            QVERIFY(!holdsPassword || modeOf(path) == 0600);
            halfMadeSeen = halfMadeSeen || (holdsPassword && name != u"preferences.json"_s);
        }
        nextWriteWorks();
    }
    QVERIFY2(stops > 20, "the writer was not stopped at its steps");
    QVERIFY2(halfMadeSeen, "no kill hit a half-made file");
}

void TestUserDefaultsKilled::theFirstWriteSurvivesAKillAtAnyMoment()
{
    int stops = 0;
    for (bool ended = false; !ended; ++stops) {
        (void)FileManager::removeItem(toPath(QFileInfo(file()).path()));
        {
            TracedChild writer([&] { UserDefaults(file(), {}).setObject(u"wayfarpasswd"_s, u"new"_s); });
            ended = !writer.goOn(stops);
        }
        if (FileManager::itemExists(toPath(file())))
            QCOMPARE(onDisk(), QJsonObject({{u"wayfarpasswd"_s, u"new"_s}}));
        else
            QVERIFY(!ended);
        nextWriteWorks();
    }
    QVERIFY(stops > 20);
}

QTEST_GUILESS_MAIN(TestUserDefaultsKilled)
#include "TestUserDefaultsKilled.moc"
