#include "windows/OpenPanel.h"

#include "support/PanelDriver.h"
#include "support/TestWorld.h"

#include <QDir>
#include <QListView>
#include <QTest>

using namespace Qt::StringLiterals;

class TestOpenPanelPlaces : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itOpensAtTheCurrentValueOrTheNearestParent_data();
    void itOpensAtTheCurrentValueOrTheNearestParent();
    void theCurrentLauncherIsSelected_data();
    void theCurrentLauncherIsSelected();
    void homeAndTheRootAreAlwaysOffered();
    void thePlacesOfGamesThatExistAreOffered_data();
    void thePlacesOfGamesThatExistAreOffered();
    void aPlaceReachedTwoWaysIsOfferedOnce();
    void aClickOnAPlaceGoesThere();

private:
    static QStringList places(const OpenPanel &panel)
    {
        QStringList paths;
        for (const QUrl &url : panel.sidebarUrls())
            paths.append(url.toLocalFile());
        return paths;
    }
};

void TestOpenPanelPlaces::itOpensAtTheCurrentValueOrTheNearestParent_data()
{
    QTest::addColumn<OpenPanel::Choice>("choice");
    QTest::addColumn<QString>("current"); // below the world's folder; nothing stored when empty
    QTest::addColumn<QString>("folder");
    const auto folders = OpenPanel::Folders;
    const auto files = OpenPanel::Files;
    QTest::newRow("the game folder") << folders << u"games/wow"_s << u"games/wow"_s;
    QTest::newRow("no game folder yet: home") << folders << QString() << u"home"_s;
    QTest::newRow("a game folder that is gone") << folders << u"games/gone"_s << u"games"_s;
    QTest::newRow("a game folder gone with its parents") << folders << u"games/a/b/c"_s << u"games"_s;
    QTest::newRow("a game folder that is a file") << folders << u"games/wow/start.sh"_s << u"games/wow"_s;
    QTest::newRow("below a file") << folders << u"games/wow/start.sh/x"_s << u"games/wow"_s;
    QTest::newRow("the launcher") << files << u"games/wow/start.sh"_s << u"games/wow"_s;
    QTest::newRow("the launcher bundle") << files << u"games/wow/L.app"_s << u"games/wow"_s;
    QTest::newRow("no launcher yet: home") << files << QString() << u"home"_s;
    QTest::newRow("a launcher that is gone") << files << u"games/wow/gone.sh"_s << u"games/wow"_s;
    QTest::newRow("a launcher gone with its folder") << files << u"games/gone/L.app"_s << u"games"_s;
    QTest::newRow("in a hidden folder") << files << u"games/.wine/start.sh"_s << u"games/.wine"_s;
}

void TestOpenPanelPlaces::itOpensAtTheCurrentValueOrTheNearestParent()
{
    QFETCH(const OpenPanel::Choice, choice);
    QFETCH(const QString, current);
    QFETCH(const QString, folder);
    const TestWorld world;
    QVERIFY(QDir().mkpath(world.path(u"home"_s)));
    QVERIFY(QDir().mkpath(world.path(u"games/wow/L.app"_s)));
    world.write(world.path(u"games/wow/start.sh"_s), "");
    world.write(world.path(u"games/.wine/start.sh"_s), "");
    const OpenPanel panel(choice, current.isEmpty() ? QString() : world.path(current), nullptr);
    QCOMPARE(panel.directory().path(), world.path(folder));
}

void TestOpenPanelPlaces::theCurrentLauncherIsSelected_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("name");
    QTest::newRow("a file") << u"start.sh"_s << u"start.sh"_s;
    QTest::newRow("a bundle") << u"L.app"_s << u"L.app"_s;
    QTest::newRow("a bundle with a slash behind it") << u"L.app/"_s << u"L.app"_s;
    QTest::newRow("a bundle with slashes behind it") << u"L.app//"_s << u"L.app"_s;
}

void TestOpenPanelPlaces::theCurrentLauncherIsSelected()
{
    QFETCH(const QString, stored);
    QFETCH(const QString, name);
    const TestWorld world;
    QVERIFY(QDir().mkpath(world.path(u"games/L.app"_s)));
    world.write(world.path(u"games/start.sh"_s), "");
    OpenPanel panel(OpenPanel::Files, world.path(u"games/"_s + stored), nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    QCOMPARE(panel.directory().path(), world.path(u"games"_s));
    const PanelDriver player(panel);
    QCOMPARE(player.edit()->text(), name);
    QTest::keyClick(player.edit(), Qt::Key_Return);
    QCOMPARE(panel.result(), int(QDialog::Accepted));
    QCOMPARE(panel.chosen(), world.path(u"games/"_s + name));
}

void TestOpenPanelPlaces::homeAndTheRootAreAlwaysOffered()
{
    const TestWorld world;
    QVERIFY(QDir().mkpath(world.path(u"home"_s)));
    const OpenPanel panel(OpenPanel::Folders, {}, nullptr);
    QCOMPARE(places(panel), (QStringList{world.path(u"home"_s), u"/"_s}));
}

void TestOpenPanelPlaces::thePlacesOfGamesThatExistAreOffered_data()
{
    QTest::addColumn<QString>("place");
    QTest::newRow("Games") << u"home/Games"_s;
    QTest::newRow("Wine") << u"home/.wine/drive_c"_s;
    QTest::newRow("Wine's other prefixes") << u"data/wineprefixes"_s;
    QTest::newRow("Lutris") << u"data/lutris"_s;
    QTest::newRow("Lutris as a Flatpak") << u"home/.var/app/net.lutris.Lutris/data/lutris"_s;
    QTest::newRow("Steam's prefixes") << u"data/Steam/steamapps/compatdata"_s;
    QTest::newRow("Steam's games") << u"data/Steam/steamapps/common"_s;
    QTest::newRow("Steam's old place") << u"home/.steam/steam/steamapps/compatdata"_s;
    QTest::newRow("Steam as a Flatpak")
        << u"home/.var/app/com.valvesoftware.Steam/.local/share/Steam/steamapps/compatdata"_s;
}

void TestOpenPanelPlaces::thePlacesOfGamesThatExistAreOffered()
{
    QFETCH(const QString, place);
    const TestWorld world;
    QVERIFY(QDir().mkpath(world.path(u"home"_s)));
    QVERIFY(QDir().mkpath(world.path(place)));
    const OpenPanel panel(OpenPanel::Files, {}, nullptr);
    QCOMPARE(places(panel), (QStringList{world.path(u"home"_s), world.path(place), u"/"_s}));
}

void TestOpenPanelPlaces::aPlaceReachedTwoWaysIsOfferedOnce()
{
    const TestWorld world;
    QVERIFY(QDir().mkpath(world.path(u"data/Steam/steamapps/compatdata"_s)));
    QVERIFY(QDir().mkpath(world.path(u"home/.steam"_s)));
    QVERIFY(QFile::link(world.path(u"data/Steam"_s), world.path(u"home/.steam/steam"_s)));
    const OpenPanel panel(OpenPanel::Folders, {}, nullptr);
    QCOMPARE(places(panel),
             (QStringList{world.path(u"home"_s), world.path(u"data/Steam/steamapps/compatdata"_s), u"/"_s}));
}

void TestOpenPanelPlaces::aClickOnAPlaceGoesThere()
{
    const TestWorld world;
    QVERIFY(QDir().mkpath(world.path(u"home/Games"_s)));
    OpenPanel panel(OpenPanel::Folders, {}, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const auto *const bar = panel.findChild<QListView *>(u"sidebar"_s);
    const QModelIndex games = bar->model()->index(1, 0);
    QTest::mouseClick(bar->viewport(), Qt::LeftButton, {}, bar->visualRect(games).center());
    QCOMPARE(panel.directory().path(), world.path(u"home/Games"_s));
}

QTEST_MAIN(TestOpenPanelPlaces)
#include "TestOpenPanelPlaces.moc"
