#include "places/BundleFolder.h"
#include "platform/FileManager.h"

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

// The name of the folder's newest bundle.
QString newestIn(const QTemporaryDir &folder)
{
    return toText(BundleFolder::newestIn(toPath(folder.path())).filename());
}

// What the starter, copied to the place and started by the name, writes and ends with.
struct Started {
    Started(const QString &place, const QStringList &arguments = {}, const QString &name = {})
    {
        QVERIFY(QDir().mkpath(QFileInfo(place).path()));
        QVERIFY(QFile::copy(QStringLiteral(STARTER), place));
        if (!name.isEmpty())
            QVERIFY(QFile::link(place, name));
        QProcess starter;
        starter.start(name.isEmpty() ? place : name, arguments);
        QVERIFY(starter.waitForFinished());
        output = starter.readAllStandardOutput();
        errors = starter.readAllStandardError();
        status = starter.exitCode();
    }

    QByteArray output;
    QByteArray errors;
    int status = -1;
};
} // namespace

class TestStarter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theNewestIsFoundByItsNumbers_data();
    void theNewestIsFoundByItsNumbers();
    void whatCannotBeStartedIsPassedOver();
    void theExecutableOfItsOwnNameStartsABundleToo();
    void otherFoldersAreNoBundles();
    void theStarterBecomesTheNewestBundleWhereverItIsStarted();
    void withoutABundleTheStarterSaysSo();
    void theStarterRunsWhereThereIsNoQt();
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
    QCOMPARE(newestIn(folder), newest);
}

void TestStarter::whatCannotBeStartedIsPassedOver()
{
    const QTemporaryDir folder;
    putBundle(folder.path(), u"1.2.6"_s);
    putBundle(folder.path(), u"1.3.0"_s, false);
    QDir(folder.path()).mkdir(u"WayfarRoutes_1.4.0.app"_s);
    QCOMPARE(newestIn(folder), u"WayfarRoutes_1.2.6.app"_s);
}

void TestStarter::theExecutableOfItsOwnNameStartsABundleToo()
{
    const QTemporaryDir folder;
    putBundle(folder.path(), u"1.2.6"_s);
    putBundle(folder.path(), u"1.3.0"_s);
    const QString bundle = folder.filePath(u"WayfarRoutes_1.3.0.app/"_s);
    QVERIFY(QFile::rename(bundle + u"AppRun"_s, bundle + u"WayfarRoutes_1.3.0"_s));
    QCOMPARE(newestIn(folder), u"WayfarRoutes_1.3.0.app"_s);
}

void TestStarter::otherFoldersAreNoBundles()
{
    const QTemporaryDir folder;
    putBundle(folder.path() + u"/deeper"_s, u"2.0"_s);
    QDir(folder.path()).mkdir(u"SomethingElse_9.9.app"_s);
    QCOMPARE(newestIn(folder), QString());
}

void TestStarter::theStarterBecomesTheNewestBundleWhereverItIsStarted()
{
    const QTemporaryDir folder;
    putBundle(folder.path(), u"1.2.6"_s);
    putBundle(folder.path(), u"1.3.0"_s);
    const Started beside(folder.filePath(u"wayfar-installer"_s), {u"a b"_s});
    QCOMPARE(beside.output, "1.3.0 a b\n");
    QCOMPARE(beside.status, 7);
    const Started inside(folder.filePath(u"WayfarRoutes_1.2.6.app/usr/bin/wayfar-starter"_s));
    QCOMPARE(inside.output, "1.3.0 \n");
    const QTemporaryDir menu;
    const Started linked(folder.filePath(u"linked"_s), {}, menu.filePath(u"wayfar-installer"_s));
    QCOMPARE(linked.output, "1.3.0 \n");
}

void TestStarter::withoutABundleTheStarterSaysSo()
{
    const QTemporaryDir folder;
    const Started starter(folder.filePath(u"wayfar-installer"_s));
    QCOMPARE(starter.status, 1);
    QVERIFY(starter.errors.contains(folder.path().toUtf8()));
}

// It then starts the bundle whose AppRun tells the player what is missing.
void TestStarter::theStarterRunsWhereThereIsNoQt()
{
    QProcess loader;
    loader.setProcessEnvironment([] {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"LD_TRACE_LOADED_OBJECTS"_s, u"1"_s);
        return environment;
    }());
    loader.start(QStringLiteral(STARTER), QStringList());
    QVERIFY(loader.waitForFinished());
    const QByteArray libraries = loader.readAllStandardOutput();
    QVERIFY(libraries.contains("libc.so"));
    QVERIFY2(!libraries.contains("Qt"), libraries.constData());
}

QTEST_GUILESS_MAIN(TestStarter)

#include "TestStarter.moc"
