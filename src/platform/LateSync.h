#pragma once

#include <QString>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

// Forces a file to disk on a thread of its own, once it has not changed for a moment, so that nobody who writes it
// waits for the disk. Until then the version that is known to be on disk is kept beside it, under the name of safeCopy:
// what a loss of power makes of an unforced file is up to the file system.
class LateSync
{
public:
    explicit LateSync(const QString &lockFile); // held with flock(2) by every writer of the file
    ~LateSync(); // forces at once what is waiting
    LateSync(const LateSync &) = delete;
    LateSync &operator=(const LateSync &) = delete;

    static QString safeCopy(const QString &file);

    // Before and after a replacement of the file, under its lock. False when no safe copy could be made: the new
    // version has to be forced before it takes the old one's name. Any thread.
    [[nodiscard]] bool aboutToReplace(const QString &file);
    void replaced(const QString &file);
    // Returns when the last version is on disk, or the disk has refused it, or after the time.
    void finish(std::chrono::milliseconds atMost);

private:
    void work();
    bool force(const QString &file);
    bool removeSafeCopy(const QString &file);

    const QString m_lockFile;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<QString> m_waiting; // the file that is to be forced
    std::chrono::steady_clock::time_point m_due;
    bool m_hurry = false;
    bool m_isForcing = false;
    bool m_ends = false;
    std::thread m_thread; // started by the first change
};
