#include "pack/WayfarVersion.h"

#include "places/GameFolder.h"
#include "platform/Text.h"
#include "platform/UrlLoader.h"
#include "platform/UserDefaults.h"

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

std::optional<QString> versionInAnswer(QByteArrayView body)
{
    auto version = Text::fromAscii(body);
    if (version)
        version->remove(u"\r\n"_s); // a lone line feed stays: the vendor is to answer with the bare version
    return version;
}

WayfarVersion::WayfarVersion(UserDefaults &defaults, UrlLoader &loader, const VendorSite &site)
    : m_defaults(defaults), m_loader(loader), m_site(site)
{
}

QString WayfarVersion::localVersion() const
{
    m_defaults.synchronize(); // another process may have moved the game folder a moment ago
    const auto bytes = FileManager::contentsOfFile(GameFolder::current(m_defaults).tableOfContents());
    const auto toc = bytes ? Text::fromUtf8(*bytes) : std::nullopt;
    return versionInToc(toc.value_or(QString())).value_or(u"none"_s);
}

std::optional<QString> WayfarVersion::updateVersion() const
{
    const UrlAnswer answer = m_loader.sendSynchronousRequest({.url = m_site.packVersion()});
    return answer.body ? versionInAnswer(*answer.body) : std::nullopt;
}
