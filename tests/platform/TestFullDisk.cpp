#include "support/FullDisk.h"
#include "support/TestWorld.h"

#include <QTest>

using namespace Qt::StringLiterals;

// A full disk takes the beginning of a file and refuses the rest: half a file must never stand for a whole one.
class TestFullDisk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFileReplacedAtOnceKeepsItsOldContent_data();
    void aFileReplacedAtOnceKeepsItsOldContent();
    void thePreferencesKeepTheirOldContent();
};

void TestFullDisk::aFileReplacedAtOnceKeepsItsOldContent_data()
{
    QTest::addColumn<int>("room");
    QTest::addColumn<int>("size");
    QTest::newRow("no room") << 0 << 100;
    QTest::newRow("room for a part") << 16 << 100;
    QTest::newRow("room for all but one byte") << 99 << 100;
    QTest::newRow("room for a part of much") << 100000 << 1000000;
}

void TestFullDisk::aFileReplacedAtOnceKeepsItsOldContent()
{
    QFETCH(const int, room);
    QFETCH(const int, size);
    const TestWorld world;
    const QString file = world.path(u"folder/page.html"_s);
    world.write(file, "old");
    {
        const FullDisk full(static_cast<rlim_t>(room));
        QVERIFY(FileManager::writeAtomically(toPath(file), QByteArray(size, 'x')));
    }
    QCOMPARE(world.read(file), "old");
    QCOMPARE(world.namesIn(u"folder"_s), QStringList(u"page.html"_s));
    QVERIFY(!FileManager::writeAtomically(toPath(file), QByteArray(size, 'x')));
    QCOMPARE(world.read(file), QByteArray(size, 'x'));
}

void TestFullDisk::thePreferencesKeepTheirOldContent()
{
    TestWorld world;
    world.defaults().setObject(u"wayfaruser"_s, u"Ann"_s);
    const QByteArray before = world.read(world.preferencesFile());
    QVERIFY(before.contains("Ann"));
    {
        const FullDisk full(16);
        standardErrorOf([&] { world.defaults().setObject(u"wayfaruser"_s, u"Bob"_s); });
    }
    QCOMPARE(world.read(world.preferencesFile()), before);
    QCOMPARE(world.defaults().stringForKey(u"wayfaruser"_s), u"Bob"_s); // for the run
    world.defaults().synchronize();
    QVERIFY(world.read(world.preferencesFile()).contains("Bob"));
}

QTEST_GUILESS_MAIN(TestFullDisk)
#include "TestFullDisk.moc"
