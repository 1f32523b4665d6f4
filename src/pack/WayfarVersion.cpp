#include "pack/WayfarVersion.h"

#include "platform/FileManager.h"
#include "platform/Text.h"
#include "platform/UrlLoader.h"
#include "platform/UserDefaults.h"
#include "settings/PreferenceKeys.h"

using namespace Qt::StringLiterals;

std::optional<QString> versionInToc(QStringView toc)
{
    constexpr QStringView marker = u"## Version:";
    for (const QStringView line : toc.tokenize(u'\n')) {
        const qsizetype at = line.indexOf(marker, 0, Qt::CaseInsensitive);
        if (at >= 0)
            return line.sliced(at + marker.size()).toString().remove(u' ').remove(u'\r');
    }
    return std::nullopt;
}

WayfarVersion::WayfarVersion(UserDefaults &defaults, UrlLoader &loader, const VendorHosts &hosts)
    : m_defaults(defaults), m_loader(loader), m_hosts(hosts)
{
}

QString WayfarVersion::localVersion() const
{
    m_defaults.synchronize(); // another process may have moved the game folder a moment ago
    const QString game =
        m_defaults.stringForKey(PreferenceKeys::installPath).value_or(PreferenceKeys::defaultInstallPath);
    const auto bytes = FileManager::contentsOfFile(pathIn(game, u"/_retail_/Interface/AddOns/Trailbook/Trailbook.toc"));
    const auto toc = bytes ? Text::fromUtf8(*bytes) : std::nullopt;
    return versionInToc(toc.value_or(QString())).value_or(u"none"_s);
}

std::optional<QString> WayfarVersion::updateVersion() const
{
    const UrlAnswer answer =
        m_loader.sendSynchronousRequest({.url = u"https://"_s + m_hosts.site + u"/api/wayfarVersion"_s});
    auto version = answer.body ? Text::fromAscii(*answer.body) : std::nullopt;
    if (version)
        version->remove(u"\r\n"_s); // a lone line feed stays, and makes the versions differ: agreed
    return version;
}
