#include "windows/OpenPanel.h"

#include "support/PanelDriver.h"
#include "support/TestWorld.h"

#include <QAccessible>
#include <QDir>
#include <QListView>
#include <QScreen>
#include <QSettings>
#include <QTest>
#include <QTreeView>

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
    void placesAreCalledWhatTheyAre();
    void itIsWideEnoughToRead_data();
    void itIsWideEnoughToRead();
    void otherProgramsKeepTheirOwnPlacesAndColumns();
    void aClickOnAPlaceGoesThere();

private:
    void makeFolder(const QString &name) const { QVERIFY(QDir().mkpath(m_world->path(name))); }
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

void TestOpenPanelPlaces::placesAreCalledWhatTheyAre()
{
    const QString flatpak = u"home/.var/app/com.valvesoftware.Steam/.local/share/Steam/steamapps/compatdata"_s;
    for (const QString &place : {u"home/.wine/drive_c"_s, u"data/Steam/steamapps/compatdata"_s, flatpak})
        makeFolder(place);
    OpenPanel panel(OpenPanel::Files, {}, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    auto *const bar = panel.findChild<QListView *>(u"sidebar"_s);
    QAccessibleInterface *const tool = QAccessible::queryAccessibleInterface(bar);
    QStringList heard;
    for (int row = 0; row < bar->model()->rowCount(); ++row)
        heard.append(tool->child(row)->text(QAccessible::Name));
    const QString longest = u"Steam (Proton), Flatpak"_s;
    QCOMPARE(heard, QStringList({u"Home"_s, u"Wine"_s, u"Steam (Proton)"_s, longest, u"Computer"_s}));
    QVERIFY(bar->sizeHintForColumn(0) > bar->fontMetrics().horizontalAdvance(longest)); // it is what is painted
    QCOMPARE(panel.sidebarUrls().value(3).toLocalFile(), m_world->path(flatpak));
}

void TestOpenPanelPlaces::itIsWideEnoughToRead_data()
{
    QTest::addColumn<OpenPanel::Choice>("choice");
    QTest::newRow("folders") << OpenPanel::Folders;
    QTest::newRow("files") << OpenPanel::Files;
}

void TestOpenPanelPlaces::itIsWideEnoughToRead()
{
    QFETCH(const OpenPanel::Choice, choice);
    m_world->write(m_world->path(u"home/World of Warcraft Launcher.exe"_s), "MZ");
    OpenPanel panel(choice, {}, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const int room = panel.screen()->availableGeometry().width();
    QVERIFY2(panel.width() >= std::min(800, room * 9 / 10), qPrintable(QString::number(panel.width())));
    QVERIFY(panel.width() <= room);
    auto *const table = panel.findChild<QTreeView *>(u"treeView"_s);
    const QModelIndex folder = table->rootIndex();
    QTRY_VERIFY(choice == OpenPanel::Folders || table->model()->rowCount(folder) == 1);
    for (const int column : {1, 3}) { // the size and the date
        const QString text = table->model()->index(0, column, folder).data().toString();
        const bool isShown = !table->isColumnHidden(column);
        QVERIFY(!isShown || table->columnWidth(column) > table->fontMetrics().horizontalAdvance(text));
    }
}

// The base class keeps them in one file for all programs.
void TestOpenPanelPlaces::otherProgramsKeepTheirOwnPlacesAndColumns()
{
    makeFolder(u"home/Games"_s);
    const QSettings shared(QSettings::UserScope, u"QtProject"_s);
    const auto stored = [&shared](const char *key) { return shared.value(QString::fromLatin1(key)); };
    delete new QFileDialog;
    const QVariant places = stored("FileDialog/shortcuts");
    const QVariant columns = stored("FileDialog/treeViewHeader");
    delete new OpenPanel(OpenPanel::Folders, {}, nullptr);
    QVERIFY(places.isValid() && columns.isValid());
    QCOMPARE(stored("FileDialog/shortcuts"), places);
    QCOMPARE(stored("FileDialog/treeViewHeader"), columns);
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
