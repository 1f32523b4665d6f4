#include "places/GameFolder.h"

#include "places/Preferences.h"

using namespace Qt::StringLiterals;

namespace
{
const QString variant = u"_retail_"_s; // of the game's variants, the one that our add-on is for
const QString addOnsBelowRoot = variant + u"/Interface/AddOns"_s;
const QString addOnName = u"Trailbook"_s;
} // namespace

GameFolder::GameFolder(const QString &root) : m_root(root) { }

std::optional<GameFolder> GameFolder::stored(const UserDefaults &defaults)
{
    const auto root = Preferences::installPath.storedIn(defaults);
    return root ? std::optional(GameFolder(*root)) : std::nullopt;
}

GameFolder GameFolder::current(const UserDefaults &defaults)
{
    return GameFolder(Preferences::installPath.in(defaults));
}

FilePath GameFolder::addOns() const
{
    return toPath(m_root + u'/' + addOnsBelowRoot + u'/');
}

FilePath GameFolder::addOn() const
{
    return toPath(m_root) / toPath(addOnsBelowRoot) / toPath(addOnName);
}

FilePath GameFolder::tableOfContents() const
{
    return toPath(m_root + u'/' + addOnsBelowRoot + u'/' + addOnName + u'/' + addOnName + u".toc"_s);
}

FilePath GameFolder::savedSettings() const
{
    return toPath(m_root) / toPath(variant) / "WTF";
}

QString GameFolder::launcher() const
{
    return m_root + u"/World of Warcraft Launcher.app"_s;
}

QString GameFolder::missing() const
{
    for (const QString &folder : {m_root, launcher()}) {
        if (!FileManager::isDirectory(toPath(folder)))
            return folder;
    }
    return {};
}
