#include "platform/LateSync.h"

#include <QFile>
#include <QFileInfo>

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr auto calm = 400ms; // after the last change: longer than the pauses of somebody who types

// False where it can't be opened, and where the disk refuses.
bool forced(const QString &path)
{
    const int opened = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (opened < 0)
        return false;
    const bool done = ::fsync(opened) == 0;
    ::close(opened);
    return done;
}

ino_t identityOf(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}
} // namespace

LateSync::~LateSync()
{
    finish();
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
void LateSync::aboutToReplace(const QString &file)
{
    if (QFileInfo::exists(file))
        (void)::link(QFile::encodeName(file).constData(), QFile::encodeName(safeCopy(file)).constData());
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

void LateSync::finish()
{
    std::unique_lock lock(m_mutex);
    m_hurry = true;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_waiting && !m_isForcing; });
    m_hurry = false;
}

void LateSync::work()
{
    std::unique_lock lock(m_mutex);
    while (!m_ends) {
        if (!m_waiting)
            m_changed.wait(lock);
        else if (!m_hurry && std::chrono::steady_clock::now() < m_due)
            m_changed.wait_until(lock, m_due);
        else {
            const QString file = *std::exchange(m_waiting, std::nullopt);
            m_isForcing = true;
            lock.unlock();
            force(file);
            lock.lock();
            m_isForcing = false;
            m_changed.notify_all();
        }
    }
}

// Without the writers' lock, which would make them wait. When the file was replaced meanwhile, the next round is the
// one that may give up the safe copy.
void LateSync::force(const QString &file)
{
    const ino_t before = identityOf(file);
    if (!forced(file) || !forced(QFileInfo(file).path()))
        return;
    const std::scoped_lock lock(m_mutex);
    if (!m_waiting && identityOf(file) == before)
        (void)::unlink(QFile::encodeName(safeCopy(file)).constData());
}
