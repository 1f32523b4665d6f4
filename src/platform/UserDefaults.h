#pragma once

#include "platform/LateSync.h"

#include <QJsonObject>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <optional>

#include <sys/types.h>

struct FileVersion {
    dev_t device;
    ino_t number;
    off_t size;
    time_t seconds; // of the last change
    long nanoseconds;

    bool operator==(const FileVersion &) const = default;
};

// The preferences: one JSON object of key to string or boolean in the user's own file, above the system-wide ones.
// Any thread. A write stands in the file, as others read it, when the call returns: under a lock on a file beside it
// (an old and a new build may run side by side), merged into what stands there, atomically, mode 0600 in a 0700 folder,
// since it holds a password. It is forced to disk a moment after the last change, off the caller's thread; killed or
// without power, the file is whole, old or new. What can't be written is kept for the run, and logged. A file that is
// no JSON is set aside, never overwritten.
class UserDefaults
{
public:
    // WayfarInstaller/preferences.json in the user's configuration folder and in the system's.
    UserDefaults();
    // The user's file, and the system-wide ones, the first of them strongest.
    UserDefaults(const QString &userFile, const QStringList &systemFiles);

    // Nothing (Undefined) for an absent key.
    QJsonValue objectForKey(const QString &key) const;
    // A value of another kind counts as absent, and stays in the file untouched.
    std::optional<QString> stringForKey(const QString &key) const;
    bool boolForKey(const QString &key) const; // false for an absent key
    void setObject(const QString &key, const QJsonValue &value);

    // Every visible key with its value, the system-wide ones included.
    QJsonObject dictionaryRepresentation() const;
    // Writes what is pending and reads what other processes stored.
    void synchronize();
    // Returns when everything written is on disk, or after two seconds; the destructor waits longer.
    void forceToDisk();

private:
    void store();
    bool replace(const QJsonObject &object);
    void logOnce(const QString &reason);

    const QString m_userFile;
    mutable QMutex m_mutex;
    QJsonObject m_system;
    QJsonObject m_user; // as read or written last
    QJsonObject m_pending; // not on disk yet
    std::optional<FileVersion> m_version; // of the file that m_user was written to or read from
    bool m_failureLogged = false;
    LateSync m_sync;
};
