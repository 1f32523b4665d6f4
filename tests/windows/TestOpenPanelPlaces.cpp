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
    void init()
    {
        m_world = std::make_unique<TestWorld>();
        makeFolder(u"home"_s);
    }
    void cleanup() { m_world.reset(); }

    void itOpensAtTheCurrentValueOrTheNearestParent_data();
    void itOpensAtTheCurrentValueOrTheNearestParent();
    void theCurrentLauncherIsSelected_data();
    void theCurrentLauncherIsSelected();
    void thePlacesOfGamesThatExistAreOffered();
    void aPlaceReachedTwoWaysIsOfferedOnce();
    void aClickOnAPlaceGoesThere();

private:
    void makeFolder(const QString &name) const { QVERIFY(QDir().mkpath(m_world->path(name))); }
    // The panel's places, below the world's folder, between its home and the root.
    void verifyPlaces(const QStringList &names) const
    {
        QStringList expected = {m_world->path(u"home"_s)};
        for (const QString &name : names)
            expected.append(m_world->path(name));
        QStringList places;
        for (const QUrl &url : OpenPanel(OpenPanel::Files, {}, nullptr).sidebarUrls())
            places.append(url.toLocalFile());
        QCOMPARE(places, expected << u"/"_s);
    }

    std::unique_ptr<TestWorld> m_world;
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
    makeFolder(u"games/wow/L.app"_s);
    m_world->write(m_world->path(u"games/wow/start.sh"_s), "");
    m_world->write(m_world->path(u"games/.wine/start.sh"_s), "");
    const OpenPanel panel(choice, current.isEmpty() ? QString() : m_world->path(current), nullptr);
    QCOMPARE(panel.directory().path(), m_world->path(folder));
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
    makeFolder(u"games/L.app"_s);
    m_world->write(m_world->path(u"games/start.sh"_s), "");
    OpenPanel panel(OpenPanel::Files, m_world->path(u"games/"_s + stored), nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    QCOMPARE(panel.directory().path(), m_world->path(u"games"_s));
    const PanelDriver player(panel);
    QCOMPARE(player.edit()->text(), name);
    QTest::keyClick(player.edit(), Qt::Key_Return);
    QCOMPARE(panel.result(), int(QDialog::Accepted));
    QCOMPARE(panel.chosen(), m_world->path(u"games/"_s + name));
}

void TestOpenPanelPlaces::thePlacesOfGamesThatExistAreOffered()
{
    verifyPlaces({});
    const QStringList places = {u"home/Games"_s,
                                u"home/.wine/drive_c"_s,
                                u"data/wineprefixes"_s,
                                u"data/lutris"_s,
                                u"data/Steam/steamapps/compatdata"_s,
                                u"data/Steam/steamapps/common"_s,
                                u"home/.steam/steam/steamapps/compatdata"_s,
                                u"home/.var/app/com.valvesoftware.Steam/.local/share/Steam/steamapps/compatdata"_s,
                                u"home/.var/app/net.lutris.Lutris/data/lutris"_s};
    for (const QString &place : places) {
        makeFolder(place);
        verifyPlaces({place});
        QVERIFY(QDir().rmdir(m_world->path(place)));
    }
    for (const QString &place : places)
        makeFolder(place);
    verifyPlaces(places);
}

void TestOpenPanelPlaces::aPlaceReachedTwoWaysIsOfferedOnce()
{
    makeFolder(u"data/Steam/steamapps/compatdata"_s);
    makeFolder(u"home/.steam"_s);
    QVERIFY(QFile::link(m_world->path(u"data/Steam"_s), m_world->path(u"home/.steam/steam"_s)));
    verifyPlaces({u"data/Steam/steamapps/compatdata"_s});
}

void TestOpenPanelPlaces::aClickOnAPlaceGoesThere()
{
    makeFolder(u"home/Games"_s);
    OpenPanel panel(OpenPanel::Folders, {}, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const auto *const bar = panel.findChild<QListView *>(u"sidebar"_s);
    const QModelIndex games = bar->model()->index(1, 0);
    QTest::mouseClick(bar->viewport(), Qt::LeftButton, {}, bar->visualRect(games).center());
    QCOMPARE(panel.directory().path(), m_world->path(u"home/Games"_s));
}

QTEST_MAIN(TestOpenPanelPlaces)
#include "TestOpenPanelPlaces.moc"
