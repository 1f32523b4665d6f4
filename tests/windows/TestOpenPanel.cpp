#include "windows/OpenPanel.h"

#include "support/PanelDriver.h"
#include "support/TestWorld.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
enum class Way { ChooseButton, Return, DoubleClick, TypedName };

const QString bundle = u"World of Warcraft Launcher.app"_s;
} // namespace

class TestOpenPanel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneThingIsChosen_data();
    void oneThingIsChosen();
    void aPlainFolderIsWalkedInto_data();
    void aPlainFolderIsWalkedInto();
    void theFolderWalkedIntoIsChosenByTheButton();
    void cancelChoosesNothing_data();
    void cancelChoosesNothing();
    void withNothingSelectedThereIsNoFileToChoose();
    void withNothingSelectedTheOpenFolderIsMeant();
    void theFolderDialogOffersFoldersOnly();
    void theFileDialogOffersFilesAndTheFoldersOnTheWay();
    void onlyOneCanBeSelected_data();
    void onlyOneCanBeSelected();
    void oddNamesComeBackAsTheyAre_data();
    void oddNamesComeBackAsTheyAre();
    void controlHShowsAndHidesHiddenThings_data();
    void controlHShowsAndHidesHiddenThings();
    void theWayUpOutOfABundleDoesNotChooseIt();
    void aBundleLeftIsChosenFromOutsideAgain();

private:
    static void addWays(OpenPanel::Choice choice, const QString &name, const QList<Way> &ways);
    static void take(const PanelDriver &player, const QString &name, Way way);
    // A folder with one thing of each kind.
    static QString fill(const TestWorld &world);
};

QString TestOpenPanel::fill(const TestWorld &world)
{
    const QString folder = world.path(u"place"_s);
    for (const QString &name : {u"Game"_s, bundle, u"linked.app"_s, u".hidden folder"_s})
        QDir().mkpath(folder + u'/' + name);
    for (const QString &name : {u"wow.sh"_s, u"single.app"_s, u"Game/inner.sh"_s, u".hidden"_s})
        world.write(folder + u'/' + name, "");
    QFile::link(folder + u'/' + bundle, folder + u"/link.app"_s);
    return folder;
}

void TestOpenPanel::addWays(OpenPanel::Choice choice, const QString &name, const QList<Way> &ways)
{
    static const QHash<Way, QByteArray> words = {{Way::ChooseButton, "by the button"},
                                                 {Way::Return, "by Return"},
                                                 {Way::DoubleClick, "by a double click"},
                                                 {Way::TypedName, "by its name"}};
    for (const Way way : ways)
        QTest::newRow((name.toUtf8() + ' ' + words.value(way)).constData()) << choice << name << way;
}

void TestOpenPanel::take(const PanelDriver &player, const QString &name, Way way)
{
    switch (way) {
    case Way::ChooseButton:
        player.select(name);
        player.click(player.chooseButton());
        break;
    case Way::Return:
        player.pressReturnOn(name);
        break;
    case Way::DoubleClick:
        player.doubleClick(name);
        break;
    case Way::TypedName:
        player.type(name);
        break;
    }
}

void TestOpenPanel::oneThingIsChosen_data()
{
    QTest::addColumn<OpenPanel::Choice>("choice");
    QTest::addColumn<QString>("name");
    QTest::addColumn<Way>("way");
    const QList<Way> all = {Way::ChooseButton, Way::Return, Way::DoubleClick, Way::TypedName};
    addWays(OpenPanel::Folders, u"Game"_s, {Way::ChooseButton, Way::TypedName});
    addWays(OpenPanel::Files, u"wow.sh"_s, all);
    addWays(OpenPanel::Files, bundle, all);
    addWays(OpenPanel::Files, u"link.app"_s, all);
    addWays(OpenPanel::Files, u"single.app"_s, all);
}

void TestOpenPanel::oneThingIsChosen()
{
    QFETCH(const OpenPanel::Choice, choice);
    QFETCH(const QString, name);
    QFETCH(const Way, way);
    const TestWorld world;
    const QString folder = fill(world);
    OpenPanel panel(choice, folder + u"/none"_s, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(name));

    take(player, name, way);
    QCOMPARE(panel.result(), int(QDialog::Accepted));
    QVERIFY(!panel.isVisible());
    QCOMPARE(panel.chosen(), folder + u'/' + name);
}

void TestOpenPanel::aPlainFolderIsWalkedInto_data()
{
    QTest::addColumn<OpenPanel::Choice>("choice");
    QTest::addColumn<QString>("name");
    QTest::addColumn<Way>("way");
    addWays(OpenPanel::Folders, u"Game"_s, {Way::Return, Way::DoubleClick});
    addWays(OpenPanel::Files, u"Game"_s, {Way::ChooseButton, Way::Return, Way::DoubleClick, Way::TypedName});
    addWays(OpenPanel::Folders, bundle, {Way::Return, Way::DoubleClick});
}

void TestOpenPanel::aPlainFolderIsWalkedInto()
{
    QFETCH(const OpenPanel::Choice, choice);
    QFETCH(const QString, name);
    QFETCH(const Way, way);
    const TestWorld world;
    const QString folder = fill(world);
    OpenPanel panel(choice, folder + u"/none"_s, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(name));

    take(player, name, way);
    QVERIFY(panel.isVisible());
    QCOMPARE(panel.directory().path(), QString(folder + u'/' + name));
}

void TestOpenPanel::theFolderWalkedIntoIsChosenByTheButton()
{
    const TestWorld world;
    const QString folder = fill(world);
    OpenPanel panel(OpenPanel::Folders, folder, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(u"Game"_s));
    player.doubleClick(u"Game"_s);
    player.click(player.chooseButton());
    QCOMPARE(panel.result(), int(QDialog::Accepted));
    QCOMPARE(panel.chosen(), QString(folder + u"/Game"_s));
}

void TestOpenPanel::cancelChoosesNothing_data()
{
    QTest::addColumn<OpenPanel::Choice>("choice");
    QTest::addColumn<bool>("byKey");
    QTest::newRow("a folder, by the button") << OpenPanel::Folders << false;
    QTest::newRow("a folder, by Escape") << OpenPanel::Folders << true;
    QTest::newRow("a file, by the button") << OpenPanel::Files << false;
    QTest::newRow("a file, by Escape") << OpenPanel::Files << true;
}

void TestOpenPanel::cancelChoosesNothing()
{
    QFETCH(const OpenPanel::Choice, choice);
    QFETCH(const bool, byKey);
    const TestWorld world;
    OpenPanel panel(choice, fill(world) + u"/wow.sh"_s, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(u"Game"_s));
    const QSignalSpy rejected(&panel, &QDialog::rejected);
    if (byKey)
        QTest::keyClick(player.names(), Qt::Key_Escape);
    else
        player.click(player.cancelButton());
    QCOMPARE(rejected.size(), 1);
    QVERIFY(!panel.isVisible());
    QCOMPARE(panel.result(), int(QDialog::Rejected));
}

void TestOpenPanel::withNothingSelectedThereIsNoFileToChoose()
{
    const TestWorld world;
    const QString folder = fill(world);
    OpenPanel panel(OpenPanel::Files, folder + u"/none"_s, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(u"wow.sh"_s));
    player.click(player.chooseButton());
    QTest::keyClick(player.edit(), Qt::Key_Return);
    QVERIFY(panel.isVisible());
    QCOMPARE(panel.directory().path(), folder);
}

void TestOpenPanel::withNothingSelectedTheOpenFolderIsMeant()
{
    const TestWorld world;
    const QString folder = fill(world);
    OpenPanel panel(OpenPanel::Folders, folder, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    player.click(player.chooseButton());
    QCOMPARE(panel.result(), int(QDialog::Accepted));
    QCOMPARE(panel.chosen(), folder);
}

void TestOpenPanel::theFolderDialogOffersFoldersOnly()
{
    const TestWorld world;
    OpenPanel panel(OpenPanel::Folders, fill(world), nullptr);
    QCOMPARE(panel.windowTitle(), u"Choose game folder"_s);
    panel.show();
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(u"Game"_s));
    QVERIFY(player.waitFor(bundle));
    QVERIFY(!player.offers(u"wow.sh"_s));
    QVERIFY(!player.offers(u"single.app"_s));
}

void TestOpenPanel::theFileDialogOffersFilesAndTheFoldersOnTheWay()
{
    const TestWorld world;
    OpenPanel panel(OpenPanel::Files, fill(world) + u"/none"_s, nullptr);
    QCOMPARE(panel.windowTitle(), u"Choose launcher"_s);
    panel.show();
    const PanelDriver player(panel);
    for (const QString &name : {u"wow.sh"_s, u"single.app"_s, bundle, u"Game"_s})
        QVERIFY2(player.waitFor(name), qPrintable(name));
}

void TestOpenPanel::onlyOneCanBeSelected_data()
{
    QTest::addColumn<OpenPanel::Choice>("choice");
    QTest::newRow("folders") << OpenPanel::Folders;
    QTest::newRow("files") << OpenPanel::Files;
}

void TestOpenPanel::onlyOneCanBeSelected()
{
    QFETCH(const OpenPanel::Choice, choice);
    const TestWorld world;
    OpenPanel panel(choice, fill(world) + u"/none"_s, nullptr);
    panel.show();
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(u"Game"_s));
    QVERIFY(player.waitFor(bundle));
    player.select(u"Game"_s);
    QTest::keyClick(player.names(), Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(player.names()->selectionModel()->selectedRows().size(), 1);
}

void TestOpenPanel::oddNamesComeBackAsTheyAre_data()
{
    QTest::addColumn<OpenPanel::Choice>("choice");
    QTest::addColumn<QString>("name");
    for (const QString &name : {u"Player's game"_s, u"back\\slash"_s, u"50%41#1?x"_s, u"Jürgen 世界"_s, u"$HOME"_s,
                                u"~"_s, u"a;b&c"_s, u"%@"_s, u"a \"b\" c"_s}) {
        QTest::newRow(qPrintable(u"folder "_s + name)) << OpenPanel::Folders << name;
        QTest::newRow(qPrintable(u"file "_s + name)) << OpenPanel::Files << name;
    }
}

void TestOpenPanel::oddNamesComeBackAsTheyAre()
{
    QFETCH(const OpenPanel::Choice, choice);
    QFETCH(const QString, name);
    const TestWorld world;
    const QString folder = world.path(u"place"_s);
    if (choice == OpenPanel::Folders)
        QVERIFY(QDir().mkpath(folder + u'/' + name));
    else
        world.write(folder + u'/' + name, "");
    OpenPanel panel(choice, folder + u"/none"_s, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(name));
    take(player, name, Way::ChooseButton);
    QCOMPARE(panel.result(), int(QDialog::Accepted));
    QCOMPARE(panel.chosen(), QString(folder + u'/' + name));
}

void TestOpenPanel::controlHShowsAndHidesHiddenThings_data()
{
    QTest::addColumn<OpenPanel::Choice>("choice");
    QTest::addColumn<QString>("hidden");
    QTest::addColumn<bool>("inTheNameField");
    QTest::newRow("folders, from the list") << OpenPanel::Folders << u".hidden folder"_s << false;
    QTest::newRow("folders, from the name") << OpenPanel::Folders << u".hidden folder"_s << true;
    QTest::newRow("files, from the list") << OpenPanel::Files << u".hidden"_s << false;
    QTest::newRow("files, from the name") << OpenPanel::Files << u".hidden"_s << true;
}

void TestOpenPanel::controlHShowsAndHidesHiddenThings()
{
    QFETCH(const OpenPanel::Choice, choice);
    QFETCH(const QString, hidden);
    QFETCH(const bool, inTheNameField);
    const TestWorld world;
    OpenPanel panel(choice, fill(world) + u"/none"_s, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    QVERIFY(player.waitFor(u"Game"_s));
    QVERIFY(!player.offers(hidden));

    QWidget *const place = inTheNameField ? static_cast<QWidget *>(player.edit()) : player.names();
    place->setFocus();
    QTest::keyClick(place, Qt::Key_H, Qt::ControlModifier);
    QVERIFY(player.waitFor(hidden));
    QVERIFY(player.waitFor(u"Game"_s));
    QTest::keyClick(place, Qt::Key_H, Qt::ControlModifier);
    QTRY_VERIFY(!player.offers(hidden));
}

void TestOpenPanel::theWayUpOutOfABundleDoesNotChooseIt()
{
    const TestWorld world;
    const QString folder = world.path(u"place"_s);
    world.write(folder + u"/x.app/usr/inner.app/bin/tool"_s, "");
    OpenPanel panel(OpenPanel::Files, folder + u"/x.app/usr/inner.app/bin/tool"_s, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    for (const QString &place : {u"/x.app/usr/inner.app"_s, u"/x.app/usr"_s, u"/x.app"_s, u""_s}) {
        player.goUp();
        QVERIFY2(panel.isVisible(), qPrintable(place));
        QCOMPARE(panel.directory().path(), QString(folder + place));
    }
}

void TestOpenPanel::aBundleLeftIsChosenFromOutsideAgain()
{
    const TestWorld world;
    const QString folder = world.path(u"place"_s);
    world.write(folder + u"/x.app/tool"_s, "");
    OpenPanel panel(OpenPanel::Files, folder + u"/x.app/tool"_s, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowActive(&panel));
    const PanelDriver player(panel);
    player.goUp();
    QVERIFY(player.waitFor(u"x.app"_s));
    player.doubleClick(u"x.app"_s);
    QCOMPARE(panel.result(), int(QDialog::Accepted));
    QCOMPARE(panel.chosen(), QString(folder + u"/x.app"_s));
}

QTEST_MAIN(TestOpenPanel)
#include "TestOpenPanel.moc"
