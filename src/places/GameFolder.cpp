#include "places/GameFolder.h"

#include "places/Preferences.h"

using namespace Qt::StringLiterals;

namespace
{
const QString variant = u"_retail_"_s; // of the game's variants, the one that our add-on is for
const QStringList wayToAddOns = {u"Interface"_s, u"AddOns"_s};
const QString addOnsBelowRoot = variant + u'/' + wayToAddOns.join(u'/');
const QString addOnName = u"Trailbook"_s;

// A folder beside the named one whose name differs in the case of its letters alone; empty where there is none. On a
// disk that does not tell them apart, and behind a link, both names lead to the same folder.
QString otherSpelling(const FilePath &folder, const QString &name)
{
    std::error_code none;
    for (const FilePath &entry : FileManager::contentsOfDirectory(folder)) {
        const QString found = toText(entry);
        if (found != name && found.compare(name, Qt::CaseInsensitive) == 0 && FileManager::isDirectory(folder / entry)
            && !std::filesystem::equivalent(folder / entry, folder / toPath(name), none))
            return found;
    }
    return {};
}
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

GameFolder::Finding GameFolder::judged() const
{
    FilePath folder = toPath(m_root);
    if (!FileManager::isDirectory(folder))
        return {Finding::NoFolder};
    folder /= toPath(variant);
    if (!FileManager::isDirectory(folder))
        return {Finding::NoVariant};
    for (const QString &name : wayToAddOns) {
        const QString found = otherSpelling(folder, name);
        if (!found.isEmpty())
            return {Finding::OtherSpelling, found, name};
        folder /= toPath(name);
    }
    return {};
}
