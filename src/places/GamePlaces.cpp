#include "places/GamePlaces.h"

#include "platform/FileManager.h"

#include <QDir>
#include <QRegularExpression>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace
{
QString atHome(const QString &path)
{
    return QDir::homePath() + path;
}

QString inData(const QString &path)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + path;
}

// What tells a folder from another of the same name.
QString shortened(const QString &path)
{
    return path.startsWith(atHome(u"/"_s)) ? u'~' + path.mid(QDir::homePath().size()) : path;
}

// The list is text: "path" and the folder, both quoted, in a line for each library.
QStringList furtherLibraries(const QString &steam)
{
    static const QRegularExpression pathLine(uR"-(^\s*"path"\s+"((?:[^"\\]|\\.)*)")-"_s,
                                             QRegularExpression::MultilineOption);
    static const QRegularExpression escaped(uR"(\\(.))"_s);
    const auto list = FileManager::contentsOfFile(toPath(steam + u"/steamapps/libraryfolders.vdf"_s));
    const QString text = QString::fromUtf8(list.value_or(QByteArray()));
    QStringList paths;
    for (const QRegularExpressionMatch &match : pathLine.globalMatch(text)) {
        const QString path = match.captured(1).replace(escaped, u"\\1"_s);
        if (path.startsWith(u'/'))
            paths.append(QDir::cleanPath(path));
    }
    return paths;
}

class Places
{
public:
    // The detail is told where another place has the name already.
    void add(const QString &name, const QString &path, const QString &detail = {})
    {
        const QString real = QFileInfo(path).canonicalFilePath(); // empty where there is none
        if (real.isEmpty() || m_seen.contains(real))
            return;
        m_seen.append(real);
        m_places.append({m_names.contains(name) ? name + u", "_s + detail : name, path});
        m_names.append(name);
    }

    void addLibrary(const QString &folder, const QString &detail)
    {
        add(u"Steam (Proton)"_s, folder + u"/steamapps/compatdata"_s, detail);
        add(u"Steam games"_s, folder + u"/steamapps/common"_s, detail);
    }

    void addSteam(const QString &folder, const QString &detail)
    {
        addLibrary(folder, detail);
        for (const QString &library : furtherLibraries(folder))
            addLibrary(library, shortened(library));
    }

    const QList<GamePlace> &all() const { return m_places; }

private:
    QList<GamePlace> m_places;
    QStringList m_names;
    QStringList m_seen;
};
} // namespace

QList<GamePlace> GamePlaces::existing()
{
    const QString flatpak = u"Flatpak"_s;
    Places places;
    places.add(u"Home"_s, QDir::homePath());
    places.add(u"Games"_s, atHome(u"/Games"_s));
    places.add(u"Wine"_s, atHome(u"/.wine/drive_c"_s));
    places.add(u"Wine prefixes"_s, inData(u"/wineprefixes"_s));
    places.add(u"Lutris"_s, inData(u"/lutris"_s));
    places.add(u"Lutris"_s, atHome(u"/.var/app/net.lutris.Lutris/data/lutris"_s), flatpak);
    places.addSteam(inData(u"/Steam"_s), {});
    places.addSteam(atHome(u"/.steam/steam"_s), u"~/.steam"_s);
    places.addSteam(atHome(u"/.var/app/com.valvesoftware.Steam/.local/share/Steam"_s), flatpak);
    places.add(u"Computer"_s, QDir::rootPath());
    return places.all();
}
