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
    void init();
    void cleanup();

    void oneThingIsChosen_data();
    void oneThingIsChosen();
    void aPlainFolderIsWalkedInto_data();
    void aPlainFolderIsWalkedInto();
    void theOpenFolderIsMeantWhenNothingIsSelected();
    void cancelChoosesNothing_data();
    void cancelChoosesNothing();
    void withNothingSelectedThereIsNoFileToChoose();
    void theFolderDialogOffersFoldersOnly();
    void theFileDialogOffersFilesAndTheFoldersOnTheWay();
    void onlyOneCanBeSelected_data();
    void onlyOneCanBeSelected();
    void oddNamesComeBackAsTheyAre_data();
    void oddNamesComeBackAsTheyAre();
    void controlHShowsAndHidesHiddenThings_data();
    void controlHShowsAndHidesHiddenThings();
    void theWayUpLeadsOutOfABundleWhichIsThenChosenFromOutside();

private:
    static void addWays(OpenPanel::Choice choice, const QString &name, const QList<Way> &ways);
    // In the test's folder, which holds one thing of each kind. Then waits until the panel shows the name.
    void open(OpenPanel::Choice choice, const QString &shown = u"Game"_s, const QString &current = u"none"_s);
    void take(const QString &name, Way way) const;
    QString path(const QString &name) const { return m_world->path(u"place/"_s + name); }
    void verifyChosen(const QString &path) const
    {
        QCOMPARE(m_panel->result(), int(QDialog::Accepted));
        QVERIFY(!m_panel->isVisible());
        QCOMPARE(m_panel->chosen(), path);
    }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<OpenPanel> m_panel;
    std::unique_ptr<PanelDriver> m_player;
};

void TestOpenPanel::init()
{
    m_world = std::make_unique<TestWorld>();
    for (const QString &name : {u"Game"_s, bundle, u".hidden folder"_s})
        QVERIFY(QDir().mkpath(path(name)));
    for (const QString &name : {u"wow.sh"_s, u"single.app"_s, u"Game/inner.sh"_s, u".hidden"_s})
        m_world->write(path(name), "");
    QVERIFY(QFile::link(path(bundle), path(u"link.app"_s)));
}

void TestOpenPanel::cleanup()
{
    m_player.reset();
    m_panel.reset();
    m_world.reset();
}

void TestOpenPanel::open(OpenPanel::Choice choice, const QString &shown, const QString &current)
{
    m_panel = std::make_unique<OpenPanel>(choice, path(current), nullptr);
    m_panel->show();
    QVERIFY(QTest::qWaitForWindowActive(m_panel.get()));
    m_player = std::make_unique<PanelDriver>(*m_panel);
    QVERIFY(m_player->waitFor(shown));
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

void TestOpenPanel::take(const QString &name, Way way) const
{
    switch (way) {
    case Way::ChooseButton:
        m_player->select(name);
        m_player->click(m_player->chooseButton());
        break;
    case Way::Return:
        m_player->pressReturnOn(name);
        break;
    case Way::DoubleClick:
        m_player->doubleClick(name);
        break;
    case Way::TypedName:
        m_player->type(name);
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
    open(choice, name);
    take(name, way);
    verifyChosen(path(name));
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
    open(choice, name);
    take(name, way);
    QVERIFY(m_panel->isVisible());
    QCOMPARE(m_panel->directory().path(), path(name));
}

void TestOpenPanel::theOpenFolderIsMeantWhenNothingIsSelected()
{
    open(OpenPanel::Folders, u"Game"_s, u""_s);
    m_player->click(m_player->chooseButton());
    verifyChosen(m_world->path(u"place"_s));

    open(OpenPanel::Folders, u"Game"_s, u""_s);
    m_player->doubleClick(u"Game"_s);
    m_player->click(m_player->chooseButton());
    verifyChosen(path(u"Game"_s));
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
    open(choice, u"Game"_s, u"wow.sh"_s);
    const QSignalSpy rejected(m_panel.get(), &QDialog::rejected);
    if (byKey)
        QTest::keyClick(m_player->names(), Qt::Key_Escape);
    else
        m_player->click(m_player->cancelButton());
    QCOMPARE(rejected.size(), 1);
    QVERIFY(!m_panel->isVisible());
    QCOMPARE(m_panel->result(), int(QDialog::Rejected));
}

void TestOpenPanel::withNothingSelectedThereIsNoFileToChoose()
{
    open(OpenPanel::Files, u"wow.sh"_s);
    m_player->click(m_player->chooseButton());
    QTest::keyClick(m_player->edit(), Qt::Key_Return);
    QVERIFY(m_panel->isVisible());
    QCOMPARE(m_panel->directory().path(), m_world->path(u"place"_s));
}

void TestOpenPanel::theFolderDialogOffersFoldersOnly()
{
    open(OpenPanel::Folders);
    QCOMPARE(m_panel->windowTitle(), u"Choose game folder"_s);
    QVERIFY(m_player->waitFor(bundle));
    QVERIFY(!m_player->offers(u"wow.sh"_s));
    QVERIFY(!m_player->offers(u"single.app"_s));
}

void TestOpenPanel::theFileDialogOffersFilesAndTheFoldersOnTheWay()
{
    open(OpenPanel::Files);
    QCOMPARE(m_panel->windowTitle(), u"Choose launcher"_s);
    for (const QString &name : {u"wow.sh"_s, u"single.app"_s, bundle})
        QVERIFY2(m_player->waitFor(name), qPrintable(name));
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
    open(choice);
    QVERIFY(m_player->waitFor(bundle));
    m_player->select(u"Game"_s);
    QTest::keyClick(m_player->names(), Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(m_player->names()->selectionModel()->selectedRows().size(), 1);
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
    if (choice == OpenPanel::Folders)
        QVERIFY(QDir().mkpath(path(name)));
    else
        m_world->write(path(name), "");
    open(choice, name);
    take(name, Way::ChooseButton);
    verifyChosen(path(name));
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
    open(choice);
    QVERIFY(!m_player->offers(hidden));

    QWidget *const place = inTheNameField ? static_cast<QWidget *>(m_player->edit()) : m_player->names();
    place->setFocus();
    QTest::keyClick(place, Qt::Key_H, Qt::ControlModifier);
    QVERIFY(m_player->waitFor(hidden));
    QVERIFY(m_player->waitFor(u"Game"_s));
    QTest::keyClick(place, Qt::Key_H, Qt::ControlModifier);
    QTRY_VERIFY(!m_player->offers(hidden));
}

void TestOpenPanel::theWayUpLeadsOutOfABundleWhichIsThenChosenFromOutside()
{
    const QString tool = u"x.app/usr/inner.app/bin/tool"_s;
    m_world->write(path(tool), "");
    open(OpenPanel::Files, u"tool"_s, tool);
    for (const QString &place : {u"place/x.app/usr/inner.app"_s, u"place/x.app/usr"_s, u"place/x.app"_s, u"place"_s}) {
        m_player->goUp();
        QVERIFY2(m_panel->isVisible(), qPrintable(place));
        QCOMPARE(m_panel->directory().path(), m_world->path(place));
    }
    QVERIFY(m_player->waitFor(u"x.app"_s));
    m_player->doubleClick(u"x.app"_s);
    verifyChosen(path(u"x.app"_s));
}

QTEST_MAIN(TestOpenPanel)
#include "TestOpenPanel.moc"
