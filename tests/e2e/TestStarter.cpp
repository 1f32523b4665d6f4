#include "places/BundleFolder.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
// A bundle whose start says its version and its arguments.
void putBundle(const QString &folder, const QString &version, bool startable = true)
{
    const QString bundle = folder + u"/WayfarRoutes_"_s + version + u".app"_s;
    QDir().mkpath(bundle);
    QFile start(bundle + u"/AppRun"_s);
    QVERIFY(start.open(QIODevice::WriteOnly));
    start.write("#!/bin/sh\necho \"" + version.toUtf8() + " $*\"\nexit 7\n");
    start.setPermissions(QFile::ReadOwner | QFile::WriteOwner | (startable ? QFile::ExeOwner : QFile::Permissions()));
}

QString nameOf(const QString &path)
{
    return path.section(u'/', -1);
}
} // namespace

class TestStarter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theNewestIsFoundByItsNumbers_data();
    void theNewestIsFoundByItsNumbers();
    void whatCannotBeStartedIsPassedOver();
    void otherFoldersAreNoBundles();
    void theStarterBecomesTheNewestBundle();
    void insideABundleTheStarterLooksBesideIt();
    void aLinkToTheStarterLooksWhereTheStarterIs();
    void withoutABundleTheStarterSaysSo();
};

void TestStarter::theNewestIsFoundByItsNumbers_data()
{
    QTest::addColumn<QStringList>("versions");
    QTest::addColumn<QString>("newest");
    QTest::newRow("tens above nines") << QStringList{u"1.2.9"_s, u"1.2.10"_s} << u"WayfarRoutes_1.2.10.app"_s;
    QTest::newRow("a longer one") << QStringList{u"1.2.6.1"_s, u"1.2.6"_s} << u"WayfarRoutes_1.2.6.1.app"_s;
    QTest::newRow("thirty digits") << QStringList{u"1.999999999999999999999999999999"_s, u"1.2"_s}
                                   << u"WayfarRoutes_1.999999999999999999999999999999.app"_s;
    QTest::newRow("the only one") << QStringList{u"1.2.6"_s} << u"WayfarRoutes_1.2.6.app"_s;
    QTest::newRow("none") << QStringList() << QString();
}

void TestStarter::theNewestIsFoundByItsNumbers()
{
    QFETCH(QStringList, versions);
    QFETCH(QString, newest);
    const QTemporaryDir folder;
    for (const QString &version : versions)
        putBundle(folder.path(), version);
    QCOMPARE(nameOf(BundleFolder::newestIn(folder.path())), newest);
}

void TestStarter::whatCannotBeStartedIsPassedOver()
{
    const QTemporaryDir folder;
    putBundle(folder.path(), u"1.2.6"_s);
    putBundle(folder.path(), u"1.3.0"_s, false);
    QDir(folder.path()).mkdir(u"WayfarRoutes_1.4.0.app"_s);
    QCOMPARE(nameOf(BundleFolder::newestIn(folder.path())), u"WayfarRoutes_1.2.6.app"_s);
}

void TestStarter::otherFoldersAreNoBundles()
{
    const QTemporaryDir folder;
    putBundle(folder.path() + u"/deeper"_s, u"2.0"_s);
    QDir(folder.path()).mkdir(u"SomethingElse_9.9.app"_s);
    QCOMPARE(BundleFolder::newestIn(folder.path()), QString());
}

void TestStarter::theStarterBecomesTheNewestBundle()
{
    const QTemporaryDir folder;
    putBundle(folder.path(), u"1.2.6"_s);
    putBundle(folder.path(), u"1.3.0"_s);
    QVERIFY(QFile::copy(QStringLiteral(STARTER), folder.filePath(u"wayfar-installer"_s)));
    QProcess starter;
    starter.start(folder.filePath(u"wayfar-installer"_s), {u"a b"_s});
    QVERIFY(starter.waitForFinished());
    QCOMPARE(starter.readAllStandardOutput(), QByteArray("1.3.0 a b\n"));
    QCOMPARE(starter.exitCode(), 7);
}

void TestStarter::insideABundleTheStarterLooksBesideIt()
{
    const QTemporaryDir folder;
    putBundle(folder.path(), u"1.2.6"_s);
    putBundle(folder.path(), u"1.3.0"_s);
    const QString inside = folder.filePath(u"WayfarRoutes_1.2.6.app/usr/bin"_s);
    QDir().mkpath(inside);
    QVERIFY(QFile::copy(QStringLiteral(STARTER), inside + u"/wayfar-starter"_s));
    QProcess starter;
    starter.start(inside + u"/wayfar-starter"_s, QStringList());
    QVERIFY(starter.waitForFinished());
    QCOMPARE(starter.readAllStandardOutput(), QByteArray("1.3.0 \n"));
}

void TestStarter::aLinkToTheStarterLooksWhereTheStarterIs()
{
    const QTemporaryDir folder;
    const QTemporaryDir menu;
    putBundle(folder.path(), u"1.2.6"_s);
    QVERIFY(QFile::copy(QStringLiteral(STARTER), folder.filePath(u"wayfar-installer"_s)));
    QVERIFY(QFile::link(folder.filePath(u"wayfar-installer"_s), menu.filePath(u"wayfar-installer"_s)));
    QProcess starter;
    starter.start(menu.filePath(u"wayfar-installer"_s), QStringList());
    QVERIFY(starter.waitForFinished());
    QCOMPARE(starter.readAllStandardOutput(), QByteArray("1.2.6 \n"));
}

void TestStarter::withoutABundleTheStarterSaysSo()
{
    const QTemporaryDir folder;
    QVERIFY(QFile::copy(QStringLiteral(STARTER), folder.filePath(u"wayfar-installer"_s)));
    QProcess starter;
    starter.start(folder.filePath(u"wayfar-installer"_s), QStringList());
    QVERIFY(starter.waitForFinished());
    QCOMPARE(starter.exitCode(), 1);
    QVERIFY(starter.readAllStandardError().contains(folder.path().toUtf8()));
}

QTEST_GUILESS_MAIN(TestStarter)

#include "TestStarter.moc"
