#include "places/BundleFolder.h"

#include "places/VersionNumbers.h"
#include "platform/Bundle.h"
#include "platform/Text.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace
{
constexpr QStringView nameFormat = u"WayfarRoutes_%@.app";

QString versionOf(const QFileInfo &bundle)
{
    return VersionNumbers::shortened(bundle.completeBaseName().section(u'_', 1));
}
} // namespace

OptionalPath BundleFolder::nameOf(const QString &version)
{
    if (version.contains(u'/') || version.contains(QChar(0)))
        return std::nullopt;
    return toPath(Text::filled(nameFormat, {version}));
}

QString BundleFolder::newestIn(const QString &folder)
{
    QFileInfo newest;
    for (const QFileInfo &bundle : QDir(folder).entryInfoList({Text::filled(nameFormat, {u"*"_s})}, QDir::Dirs)) {
        if (Bundle::programOf(bundle.filePath()).isEmpty())
            continue;
        if (newest.filePath().isEmpty() || VersionNumbers::compare(versionOf(bundle), versionOf(newest)) > 0)
            newest = bundle;
    }
    return newest.filePath();
}
