#pragma once

#include <QJsonObject>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <optional>

// The preferences: one JSON object of key to string or boolean in the user's own file, above the system-wide ones.
// Any thread. A write is on disk when the call returns: under a lock on a file beside it (an old and a new build may
// run side by side), merged into what stands there, atomically, mode 0600 in a 0700 folder, since it holds a password.
// What can't be written is kept for the run, and logged. A file that is no JSON is set aside, never overwritten.
class UserDefaults
{
public:
    // WayfarInstaller/preferences.json in the user's configuration folder and in the system's.
    UserDefaults();
    // The user's file, and the system-wide ones, the first of them strongest.
    UserDefaults(const QString &userFile, const QStringList &systemFiles);

    // Nothing (Undefined) for an absent key.
    QJsonValue objectForKey(const QString &key) const;
    std::optional<QString> stringForKey(const QString &key) const;
    bool boolForKey(const QString &key) const; // false for an absent key
    void setObject(const QString &key, const QJsonValue &value);

    // Every visible key with its value, the system-wide ones included.
    QJsonObject dictionaryRepresentation() const;
    // Writes what is pending and reads what other processes stored.
    void synchronize();

private:
    void store();
    void logOnce(const QString &reason);

    const QString m_userFile;
    mutable QMutex m_mutex;
    QJsonObject m_system;
    QJsonObject m_user; // as read or written last
    QJsonObject m_pending; // not on disk yet
    bool m_failureLogged = false;
};
