#include "places/GamePlaces.h"

#include "support/Files.h"
#include "support/TestWorld.h"

#include <QDir>

using namespace Qt::StringLiterals;

class TestGamePlaces : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_world = std::make_unique<TestWorld>();
        make(u"home"_s);
    }
    void cleanup() { m_world.reset(); }

    void aPlaceThatExistsIsOffered_data();
    void aPlaceThatExistsIsOffered();
    void placesComeInTheirOrder();
    void aPlaceReachedTwoWaysIsOfferedOnce();
    void librariesOfOneNameAreToldApart();
    void furtherLibrariesAreThoseOfSteamsList_data();
    void furtherLibrariesAreThoseOfSteamsList();

private:
    void make(const QString &folder) const { makeFolder(toPath(m_world->path(folder))); }
    // As "NAME: PATH", the path below the world's folder; between the home and the root.
    void verifyPlaces(QStringList expected) const
    {
        QStringList places;
        for (const auto &[name, path] : GamePlaces::existing())
            places.append(name + u": "_s + QString(path).remove(m_world->path() + u'/'));
        expected.prepend(u"Home: home"_s);
        QCOMPARE(places, expected << u"Computer: /"_s);
    }

    std::unique_ptr<TestWorld> m_world;
};

namespace
{
const QString compatdata = u"/steamapps/compatdata"_s;
const QString native = u"data/Steam"_s;
const QString flatpak = u"home/.var/app/com.valvesoftware.Steam/.local/share/Steam"_s;
const QList<std::pair<QString, QString>> places = {{u"Games"_s, u"home/Games"_s},
                                                   {u"Wine"_s, u"home/.wine/drive_c"_s},
                                                   {u"Wine prefixes"_s, u"data/wineprefixes"_s},
                                                   {u"Lutris"_s, u"data/lutris"_s},
                                                   {u"Steam (Proton)"_s, native + compatdata},
                                                   {u"Steam games"_s, u"data/Steam/steamapps/common"_s}};
} // namespace

void TestGamePlaces::aPlaceThatExistsIsOffered_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    for (const auto &[name, path] : places)
        QTest::newRow(qPrintable(name)) << name << path;
    QTest::newRow("Lutris, Flatpak alone") << u"Lutris"_s << u"home/.var/app/net.lutris.Lutris/data/lutris"_s;
    QTest::newRow("Steam, Flatpak alone") << u"Steam (Proton)"_s << flatpak + compatdata;
    QTest::newRow("Steam, a folder of its own") << u"Steam (Proton)"_s << u"home/.steam/steam"_s + compatdata;
}

void TestGamePlaces::aPlaceThatExistsIsOffered()
{
    QFETCH(const QString, name);
    QFETCH(const QString, path);
    verifyPlaces({});
    make(path);
    verifyPlaces({name + u": "_s + path});
}

void TestGamePlaces::placesComeInTheirOrder()
{
    QStringList expected;
    for (const auto &[name, path] : places) {
        make(path);
        expected.append(name + u": "_s + path);
    }
    verifyPlaces(expected);
}

void TestGamePlaces::aPlaceReachedTwoWaysIsOfferedOnce()
{
    make(native + compatdata);
    make(u"home/.steam"_s);
    makeLink(toPath(m_world->path(native)), toPath(m_world->path(u"home/.steam/steam"_s)));
    verifyPlaces({u"Steam (Proton): data/Steam/steamapps/compatdata"_s});
}

void TestGamePlaces::librariesOfOneNameAreToldApart()
{
    for (const QString &library : {native, flatpak, u"home/.steam/steam"_s})
        make(library + compatdata);
    verifyPlaces({u"Steam (Proton): "_s + native + compatdata,
                  u"Steam (Proton), ~/.steam: home/.steam/steam"_s + compatdata,
                  u"Steam (Proton), Flatpak: "_s + flatpak + compatdata});
}

void TestGamePlaces::furtherLibrariesAreThoseOfSteamsList_data()
{
    QTest::addColumn<QString>("list"); // %1 is the world's folder
    QTest::addColumn<QStringList>("further");
    const QString entry = u"\"1\"\n{\n\t\"path\"\t\t\"%1\"\n\t\"label\"\t\"\"\n}\n"_s;
    const auto row = [](const char *rule, const QString &list, const QStringList &further) {
        QTest::newRow(rule) << list << further;
    };
    row("another disk", entry.arg(u"%1/disk"_s), {u"Steam (Proton), %1/disk: disk"_s});
    row("in the home", entry.arg(u"%1/home/Library"_s), {u"Steam (Proton), ~/Library: home/Library"_s});
    row("escaped letters", entry.arg(uR"(%1/a \"b\" \\c)"_s), {uR"(Steam (Proton), %1/a "b" \c: a "b" \c)"_s});
    row("its own folder", entry.arg(u"%1/data/Steam"_s), {});
    row("one that is gone", entry.arg(u"%1/gone"_s), {});
    row("a relative one", entry.arg(u"disk"_s), {});
    row("another key", u"\"pathology\" \"%1/disk\"\n"_s, {});
    row("cut off", u"\"path\" \"%1/disk"_s, {});
    row("no text", QString(QChar(0xfffd)) + QChar(0), {});
}

void TestGamePlaces::furtherLibrariesAreThoseOfSteamsList()
{
    QFETCH(QString, list);
    QFETCH(const QStringList, further);
    for (const QString &library : {native, u"disk"_s, u"home/Library"_s, uR"(a "b" \c)"_s})
        make(library + compatdata);
    m_world->write(m_world->path(native + u"/steamapps/libraryfolders.vdf"_s),
                   list.replace(u"%1"_s, m_world->path()).toUtf8());
    QStringList expected = {u"Steam (Proton): "_s + native + compatdata};
    for (QString place : further)
        expected.append(place.replace(u"%1"_s, m_world->path()) + compatdata);
    verifyPlaces(expected);
}

QTEST_GUILESS_MAIN(TestGamePlaces)
#include "TestGamePlaces.moc"
