#include "places/GameFolder.h"

#include "places/Preferences.h"
#include "support/Files.h"
#include "support/TestWorld.h"

using namespace Qt::StringLiterals;

class TestGameFolder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRootGoesInAndPathsComeOut_data();
    void aRootGoesInAndPathsComeOut();
    void theUsualRootIsTakenWhileNoneIsStored();
    void theGameFolderIsMissedFirst_data();
    void theGameFolderIsMissedFirst();
    void aChosenFolderIsJudged_data();
    void aChosenFolderIsJudged();
    void whatTheGameSeesAsOneIsNoOtherSpelling();
};

void TestGameFolder::aRootGoesInAndPathsComeOut_data()
{
    QTest::addColumn<QString>("root");
    QTest::newRow("usual") << GameFolder::usualRoot.toString();
    QTest::newRow("any letter") << u"/spiele/Weg ü 'x'"_s;
    QTest::newRow("a slash at the end") << u"/games/wow/"_s;
}

void TestGameFolder::aRootGoesInAndPathsComeOut()
{
    QFETCH(const QString, root);
    const GameFolder game(root);
    const auto below = [&root](const QString &path) { return toPath(root + u'/' + path).lexically_normal(); };
    QCOMPARE(game.root(), root);
    QCOMPARE(game.addOns().lexically_normal(), below(u"_retail_/Interface/AddOns/"_s));
    QCOMPARE(game.addOn().lexically_normal(), below(u"_retail_/Interface/AddOns/Trailbook"_s));
    QCOMPARE(game.tableOfContents().lexically_normal(), below(u"_retail_/Interface/AddOns/Trailbook/Trailbook.toc"_s));
    QCOMPARE(game.savedSettings().lexically_normal(), below(u"_retail_/WTF"_s));
    QCOMPARE(toPath(game.launcher()).lexically_normal(), below(u"World of Warcraft Launcher.app"_s));
}

void TestGameFolder::theUsualRootIsTakenWhileNoneIsStored()
{
    TestWorld world;
    UserDefaults none(world.path(u"none.json"_s), {});
    QVERIFY(!GameFolder::stored(none));
    QCOMPARE(GameFolder::current(none).root(), u"/Applications/World of Warcraft"_s);
    for (const QString &root : {u"/games/wow"_s, u""_s}) { // an empty one is stored too
        none.setObject(u"installPath"_s, root);
        QCOMPARE(GameFolder::stored(none)->root(), root);
        QCOMPARE(GameFolder::current(none).root(), root);
    }
}

void TestGameFolder::theGameFolderIsMissedFirst_data()
{
    QTest::addColumn<QString>("folder"); // each is made when it has a name
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("link"); // to a folder
    QTest::addColumn<QString>("missing");
    const QString none;
    const QString game = u"game"_s;
    const QString launcher = u"game/World of Warcraft Launcher.app"_s;
    QTest::newRow("both there") << launcher << none << none << none;
    QTest::newRow("nothing there") << none << none << none << game;
    QTest::newRow("no launcher") << game << none << none << launcher;
    QTest::newRow("a game folder that is a file") << none << game << none << game;
    QTest::newRow("a launcher that is a file") << none << launcher << none << launcher;
    QTest::newRow("a launcher called a little differently")
        << u"game/World of warcraft Launcher.app"_s << none << none << launcher;
    QTest::newRow("a link to a folder is a folder") << game << none << launcher << none;
}

void TestGameFolder::theGameFolderIsMissedFirst()
{
    QFETCH(const QString, folder);
    QFETCH(const QString, file);
    QFETCH(const QString, link);
    QFETCH(const QString, missing);
    const TestWorld world;
    if (!folder.isEmpty())
        makeFolder(toPath(world.path(folder)));
    if (!file.isEmpty())
        makeFile(toPath(world.path(file)));
    if (!link.isEmpty())
        makeLink(toPath(world.path()), toPath(world.path(link)));
    QCOMPARE(GameFolder(world.path(u"game"_s)).missing(), missing.isEmpty() ? QString() : world.path(missing));
}

void TestGameFolder::aChosenFolderIsJudged_data()
{
    QTest::addColumn<QStringList>("folders"); // below the test's
    QTest::addColumn<GameFolder::Finding::Kind>("kind");
    QTest::addColumn<QString>("found");
    QTest::addColumn<QString>("expected");
    using Finding = GameFolder::Finding;
    const auto row = [](const char *rule, const QStringList &folders, Finding::Kind kind, const QString &found = {},
                        const QString &expected = {}) { QTest::newRow(rule) << folders << kind << found << expected; };
    row("no folder", {}, Finding::NoFolder);
    row("an empty folder", {u"game"_s}, Finding::NoVariant);
    row("another variant", {u"game/_classic_"_s}, Finding::NoVariant);
    row("a variant in capitals", {u"game/_RETAIL_"_s}, Finding::NoVariant);
    row("a game without add-ons", {u"game/_retail_"_s}, Finding::Usable);
    row("a game with add-ons", {u"game/_retail_/Interface/AddOns"_s}, Finding::Usable);
    row("another spelling", {u"game/_retail_/Interface/Addons"_s}, Finding::OtherSpelling, u"Addons"_s, u"AddOns"_s);
    row("both spellings", {u"game/_retail_/Interface/AddOns"_s, u"game/_retail_/Interface/addons"_s},
        Finding::OtherSpelling, u"addons"_s, u"AddOns"_s);
    row("another spelling on the way", {u"game/_retail_/interface/AddOns"_s}, Finding::OtherSpelling, u"interface"_s,
        u"Interface"_s);
}

void TestGameFolder::aChosenFolderIsJudged()
{
    QFETCH(const QStringList, folders);
    const TestWorld world;
    for (const QString &folder : folders)
        makeFolder(toPath(world.path(folder)));
    const GameFolder::Finding finding = GameFolder(world.path(u"game"_s)).judged();
    QTEST(finding.kind, "kind");
    QTEST(finding.found, "found");
    QTEST(finding.expected, "expected");
}

void TestGameFolder::whatTheGameSeesAsOneIsNoOtherSpelling()
{
    const TestWorld world;
    const auto below = [&world](const QString &path) { return toPath(world.path(u"game/_retail_/"_s + path)); };
    const auto kind = [&world] { return GameFolder(world.path(u"game"_s)).judged().kind; };
    makeFile(below(u"interface"_s)); // no folder
    makeFolder(below(u"Interface/Addons"_s));
    QCOMPARE(kind(), GameFolder::Finding::OtherSpelling);
    makeLink("Addons", below(u"Interface/AddOns"_s)); // as a disk that does not tell the two names apart
    QCOMPARE(kind(), GameFolder::Finding::Usable);
}

QTEST_GUILESS_MAIN(TestGameFolder)
#include "TestGameFolder.moc"
