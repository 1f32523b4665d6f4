#include "platform/UserDefaults.h"

#include "platform/FileManager.h"
#include "platform/SystemLog.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QStandardPaths>

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
constexpr auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

QStringList preferencesFiles()
{
    QStringList files;
    for (const QString &folder : QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation))
        files.append(folder + u"/WayfarInstaller/preferences.json"_s);
    return files;
}

// Nothing when the bytes are no JSON object.
std::optional<QJsonObject> objectFrom(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

void mergeInto(QJsonObject &object, const QJsonObject &stronger)
{
    for (auto entry = stronger.begin(); entry != stronger.end(); ++entry)
        object.insert(entry.key(), entry.value());
}

// Held while the file is read, merged and replaced. The kernel frees it when a process dies.
class FileLock
{
public:
    explicit FileLock(const QString &path)
        : m_descriptor(::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
    {
        while (m_descriptor >= 0 && ::flock(m_descriptor, LOCK_EX) != 0 && errno == EINTR) { }
    }
    ~FileLock()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    Q_DISABLE_COPY_MOVE(FileLock)

    bool isHeld() const { return m_descriptor >= 0; }

private:
    const int m_descriptor;
};

bool setAside(const QString &file)
{
    QString name = file + u".broken"_s;
    for (int number = 2; QFileInfo::exists(name) || QFileInfo(name).isSymLink(); ++number)
        name = file + u".broken-"_s + QString::number(number);
    if (!QFile::rename(file, name))
        return false;
    SystemLog::write(u"The preferences could not be read and were set aside as %1"_s.arg(name));
    return true;
}

// A link stays a link: what it leads to, through others, is replaced.
QString targetOf(const QString &path)
{
    const QString target = QFileInfo(path).canonicalFilePath(); // empty for a link that dangles
    const QFileInfo link(path);
    return !target.isEmpty() ? target : link.isSymLink() ? link.symLinkTarget() : path;
}

QString lockOf(const QString &file)
{
    return file + u".lock"_s;
}

// What was on disk before a loss of power tore the file. A file with something in it is never lost.
std::optional<QJsonObject> safeVersion(const QString &file, const QByteArray &torn)
{
    const QString copy = LateSync::safeCopy(file);
    const auto object = objectFrom(FileManager::contentsOfFile(toPath(copy)).value_or(""));
    const bool isEmpty = torn.count('\0') == torn.size();
    if (!object || !(isEmpty || setAside(file)))
        return std::nullopt;
    if (::rename(QFile::encodeName(copy).constData(), QFile::encodeName(file).constData()) != 0)
        return std::nullopt;
    SystemLog::write(u"The preferences were half written and are the older ones again: "_s + file);
    return object;
}

// Nothing when the file is there and can't be opened: it may hold anything, and must not be replaced.
std::optional<QJsonObject> readOrSetAside(const QString &file)
{
    if (!QFileInfo::exists(file))
        return safeVersion(targetOf(file), {}).value_or(QJsonObject());
    const auto bytes = FileManager::contentsOfFile(toPath(file));
    if (!bytes)
        return std::nullopt;
    if (const auto object = objectFrom(*bytes))
        return object;
    if (const auto object = safeVersion(targetOf(file), *bytes))
        return object;
    return setAside(file) ? std::optional(QJsonObject()) : std::nullopt;
}

// Through a file of one fixed name, which only the holder of the lock writes: the next write replaces what a killed one
// left, and the password in it. QSaveFile would leave files of random names for ever.
bool replaceFile(const QString &target, const QJsonObject &object, bool isSafe)
{
    if (QFileInfo::exists(target) && !QFileInfo(target).isWritable())
        return false; // it was made read-only on purpose
    const QByteArray bytes = QJsonDocument(object).toJson();
    QFile file(target + u".new"_s);
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.setPermissions(ownerOnly)
        && file.write(bytes) == bytes.size() && (isSafe || ::fsync(file.handle()) == 0);
    file.close();
    if (written && file.error() == QFileDevice::NoError
        && ::rename(QFile::encodeName(file.fileName()).constData(), QFile::encodeName(target).constData()) == 0)
        return true;
    file.remove();
    return false;
}

// Tells one version of the file from another: every replacement is a new file.
std::optional<FileVersion> versionOf(const QString &file)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(file).constData(), &status) != 0)
        return std::nullopt;
    return FileVersion{status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}
} // namespace

UserDefaults::UserDefaults() : UserDefaults(preferencesFiles().constFirst(), preferencesFiles().sliced(1)) { }

UserDefaults::UserDefaults(const QString &userFile, const QStringList &systemFiles)
    : m_userFile(userFile), m_sync(lockOf(userFile))
{
    for (auto file = systemFiles.crbegin(); file != systemFiles.crend(); ++file)
        mergeInto(m_system,
                  objectFrom(FileManager::contentsOfFile(toPath(*file)).value_or("")).value_or(QJsonObject()));
    synchronize();
    if (QFileInfo::exists(LateSync::safeCopy(targetOf(m_userFile)))) // of a program that was killed before it forced
        m_sync.replaced(targetOf(m_userFile));
}

QJsonValue UserDefaults::objectForKey(const QString &key) const
{
    const QMutexLocker lock(&m_mutex);
    for (const QJsonObject *level : {&m_pending, &m_user, &m_system}) {
        if (const auto entry = level->find(key); entry != level->end())
            return entry.value();
    }
    return QJsonValue::Undefined;
}

std::optional<QString> UserDefaults::stringForKey(const QString &key) const
{
    const QJsonValue value = objectForKey(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

bool UserDefaults::boolForKey(const QString &key) const
{
    return objectForKey(key).toBool();
}

void UserDefaults::setObject(const QString &key, const QJsonValue &value)
{
    const QMutexLocker lock(&m_mutex);
    m_pending.insert(key, value);
    store();
}

QJsonObject UserDefaults::dictionaryRepresentation() const
{
    const QMutexLocker lock(&m_mutex);
    QJsonObject all = m_system;
    mergeInto(all, m_user);
    mergeInto(all, m_pending);
    return all;
}

void UserDefaults::synchronize()
{
    const QMutexLocker lock(&m_mutex);
    const auto bytes = FileManager::contentsOfFile(toPath(m_userFile));
    const auto object = bytes ? objectFrom(*bytes) : std::nullopt;
    const QString safeCopy = LateSync::safeCopy(targetOf(m_userFile));
    if (!m_pending.isEmpty() || (!object && (QFileInfo::exists(m_userFile) || QFileInfo::exists(safeCopy))))
        store(); // writes, or sets aside what can't be read
    else
        m_user = object.value_or(QJsonObject());
    m_version.reset(); // it may have been replaced between the look and the reading
}

void UserDefaults::forceToDisk()
{
    m_sync.finish(2s);
}

void UserDefaults::store()
{
    const QFileInfo file(m_userFile);
    if (const FileError error = FileManager::createDirectory(toPath(file.path()), true))
        return logOnce(error.description);
    ::chmod(QFile::encodeName(file.path()).constData(), 0700);

    const FileLock lock(lockOf(m_userFile));
    if (!lock.isHeld())
        return logOnce(u"no lock"_s);
    const bool isAsWeLeftIt = m_version && m_version == versionOf(m_userFile);
    std::optional<QJsonObject> merged = isAsWeLeftIt ? m_user : readOrSetAside(m_userFile);
    if (!merged)
        return logOnce(u"the file can't be read"_s);
    mergeInto(*merged, m_pending);
    if (!m_pending.isEmpty() && !replace(*merged))
        return logOnce(u"the file can't be written"_s);
    m_user = *merged;
    m_pending = {};
    m_version = versionOf(m_userFile);
}

bool UserDefaults::replace(const QJsonObject &object)
{
    const QString target = targetOf(m_userFile);
    const bool done = replaceFile(target, object, m_sync.aboutToReplace(target));
    m_sync.replaced(target);
    return done;
}

void UserDefaults::logOnce(const QString &reason)
{
    if (!std::exchange(m_failureLogged, true))
        SystemLog::write(u"The preferences are kept for this run only, %1: %2"_s.arg(m_userFile, reason));
}
