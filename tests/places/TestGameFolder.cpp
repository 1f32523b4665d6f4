#include "places/GameFolder.h"

#include "support/TestWorld.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestGameFolder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theStandardPlacesAreTheMakersOwn();
    void theGameFolderIsMissedFirst_data();
    void theGameFolderIsMissedFirst();
};

void TestGameFolder::theStandardPlacesAreTheMakersOwn()
{
    const GameFolder standard(GameFolder::usualRoot.toString());
    QCOMPARE(standard.root(), u"/Applications/World of Warcraft"_s);
    QCOMPARE(standard.launcher(), u"/Applications/World of Warcraft/World of Warcraft Launcher.app"_s);
}

void TestGameFolder::theGameFolderIsMissedFirst_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("links"); // to a folder
    QTest::addColumn<QString>("missing");
    const QStringList none;
    QTest::newRow("both there") << QStringList{u"game/World of Warcraft Launcher.app"_s} << none << none << QString();
    QTest::newRow("nothing there") << none << none << none << u"game"_s;
    QTest::newRow("no launcher") << QStringList{u"game"_s} << none << none << u"game/World of Warcraft Launcher.app"_s;
    QTest::newRow("a game folder that is a file") << none << QStringList{u"game"_s} << none << u"game"_s;
    QTest::newRow("a launcher that is a file") << none << QStringList{u"game/World of Warcraft Launcher.app"_s} << none
                                               << u"game/World of Warcraft Launcher.app"_s;
    QTest::newRow("a launcher called a little differently") << QStringList{u"game/World of warcraft Launcher.app"_s}
                                                            << none << none << u"game/World of Warcraft Launcher.app"_s;
    QTest::newRow("a link to a folder is a folder")
        << QStringList{u"game"_s} << none << QStringList{u"game/World of Warcraft Launcher.app"_s} << QString();
}

void TestGameFolder::theGameFolderIsMissedFirst()
{
    QFETCH(const QStringList, folders);
    QFETCH(const QStringList, files);
    QFETCH(const QStringList, links);
    QFETCH(const QString, missing);
    const TestWorld world;
    QVERIFY(QDir().mkpath(world.path(u"elsewhere"_s)));
    for (const QString &folder : folders)
        QVERIFY(QDir().mkpath(world.path(folder)));
    for (const QString &file : files)
        world.write(world.path(file), "");
    for (const QString &link : links)
        QVERIFY(QFile::link(world.path(u"elsewhere"_s), world.path(link)));

    const GameFolder game(world.path(u"game"_s));
    QCOMPARE(game.missing(), missing.isEmpty() ? QString() : world.path(missing));
}

QTEST_GUILESS_MAIN(TestGameFolder)
#include "TestGameFolder.moc"
