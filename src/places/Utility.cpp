#include "places/Utility.h"

#include "platform/SystemLog.h"
#include "platform/Text.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace
{
// XDG forbids relative paths: they would lie wherever we were started. Qt 6.4 returns them, and Qt 6.8 puts the usual
// folder in their place, so the variable is asked.
bool isSetToRelative(QStandardPaths::StandardLocation directory)
{
    const bool isConfig = directory == QStandardPaths::GenericConfigLocation;
    const QString path = qEnvironmentVariable(isConfig ? "XDG_CONFIG_HOME" : "XDG_DATA_HOME");
    return !path.isEmpty() && QDir::isRelativePath(path);
}

QStringList searchPaths(QStandardPaths::StandardLocation directory, Utility::Domain domain)
{
    const QString users = QStandardPaths::writableLocation(directory);
    if (domain == Utility::UserDomain)
        return isSetToRelative(directory) ? QStringList() : QStringList(users);
    QStringList shared = QStandardPaths::standardLocations(directory);
    shared.removeAll(users);
    return shared;
}
} // namespace

std::optional<QString> Utility::findOrCreateDirectory(QStandardPaths::StandardLocation directory, Domain domain,
                                                      const std::optional<QString> &pathComponent, FileError *error)
{
    const QStringList paths = searchPaths(directory, domain);
    if (paths.isEmpty())
        return std::nullopt;
    const QString path = pathComponent ? paths.constFirst() + u'/' + *pathComponent : paths.constFirst();
    const FileError failure = FileManager::createDirectory(toPath(path), true);
    if (error)
        *error = failure;
    return failure ? std::nullopt : std::optional(path);
}

std::optional<QString> Utility::WayfarInstallerFolder()
{
    FileError error;
    const auto folder =
        findOrCreateDirectory(QStandardPaths::GenericDataLocation, UserDomain, u"WayfarInstaller"_s, &error);
    if (error)
        SystemLog::write(
            Text::filled(u"Unable to find or create application support directory:\n%@", {error.description}));
    return folder;
}
