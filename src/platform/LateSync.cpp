#include "platform/LateSync.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr auto calm = 400ms; // after the last change: longer than the pauses of somebody who types
constexpr auto retryDelay = 5s; // after the disk refused, or while another writer holds the lock

int opened(const QString &path, int flags)
{
    return ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC, 0600);
}

// False where the file can't be opened, and where the disk refuses. Some file systems force no folders: they need not.
bool forced(const QString &path)
{
    const int descriptor = opened(path, O_RDONLY);
    if (descriptor < 0)
        return false;
    int result = 0;
    do {
        result = ::fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    const bool done = result == 0 || errno == EINVAL || errno == ENOTSUP;
    ::close(descriptor);
    return done;
}

// Every version is a file of its own.
std::pair<ino_t, timespec> versionOf(const QString &path)
{
    struct stat status = {};
    ::stat(QFile::encodeName(path).constData(), &status);
    return {status.st_ino, status.st_mtim};
}

bool isSame(const std::pair<ino_t, timespec> &one, const std::pair<ino_t, timespec> &other)
{
    return one.first == other.first && one.second.tv_sec == other.second.tv_sec
        && one.second.tv_nsec == other.second.tv_nsec;
}
} // namespace

LateSync::LateSync(const QString &lockFile) : m_lockFile(lockFile) { }

LateSync::~LateSync()
{
    finish(24h);
    {
        const std::scoped_lock lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

QString LateSync::safeCopy(const QString &file)
{
    return file + u".safe"_s;
}

// A second name for the version on disk, which costs no writing. One that is there already is the older, forced one.
bool LateSync::aboutToReplace(const QString &file)
{
    return !QFileInfo::exists(file)
        || ::link(QFile::encodeName(file).constData(), QFile::encodeName(safeCopy(file)).constData()) == 0
        || errno == EEXIST;
}

void LateSync::replaced(const QString &file)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_waiting = file;
        m_due = std::chrono::steady_clock::now() + calm;
        if (!m_thread.joinable())
            m_thread = std::thread([this] { work(); });
    }
    m_changed.notify_all();
}

void LateSync::finish(std::chrono::milliseconds atMost)
{
    std::unique_lock lock(m_mutex);
    m_hurry = true;
    m_changed.notify_all();
    m_changed.wait_for(lock, atMost, [this] { return !m_waiting && !m_isForcing; });
    m_hurry = false;
}

void LateSync::work()
{
    std::unique_lock lock(m_mutex);
    while (!m_ends) {
        if (!m_waiting) {
            m_changed.wait(lock);
        } else if (!m_hurry && std::chrono::steady_clock::now() < m_due) {
            m_changed.wait_until(lock, m_due);
        } else {
            const QString file = *std::exchange(m_waiting, std::nullopt);
            m_isForcing = true;
            lock.unlock();
            const bool done = force(file);
            lock.lock();
            m_isForcing = false;
            if (!done && !m_waiting && !m_hurry) { // at the end there is no later
                m_waiting = file;
                m_due = std::chrono::steady_clock::now() + retryDelay;
            }
            m_changed.notify_all();
        }
    }
}

// The disk is waited for without the lock, which would make the writers wait. False when it is to be tried again.
bool LateSync::force(const QString &file)
{
    const auto before = versionOf(file);
    if (!forced(file) || !forced(QFileInfo(file).path()))
        return false;
    return !isSame(before, versionOf(file)) || removeSafeCopy(file); // a newer version has a round of its own
}

// Under the lock: a writer that has just found the safe copy there relies on it.
bool LateSync::removeSafeCopy(const QString &file)
{
    if (!QFileInfo::exists(safeCopy(file)))
        return true;
    const int descriptor = opened(m_lockFile, O_RDWR | O_CREAT);
    const bool isOurs = descriptor >= 0 && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    const std::scoped_lock lock(m_mutex);
    if (isOurs && !m_waiting) // what was replaced meanwhile is not forced yet
        (void)::unlink(QFile::encodeName(safeCopy(file)).constData());
    if (descriptor >= 0)
        ::close(descriptor);
    return isOurs;
}
