#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

class TestBundleFolder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aBundleIsAFolderInTheAppDirForm();
    void theMenuEntryStartsTheStarterWhateverTheFolderIsCalled_data();
    void theMenuEntryStartsTheStarterWhateverTheFolderIsCalled();
};

void TestBundleFolder::aBundleIsAFolderInTheAppDirForm()
{
    const QDir bundle(QStringLiteral(BUNDLE));
    for (const QString &program :
         {u"AppRun"_s, u"usr/bin/wayfar-installer"_s, u"usr/bin/wayfar-starter"_s, u"usr/bin/wayfar-menu-entry"_s})
        QVERIFY2(QFileInfo(bundle.filePath(program)).isExecutable(), qPrintable(program));
    for (const QString &file : {u"wayfar-installer.desktop"_s, u"wayfar-installer.png"_s, u"README"_s,
                                u"usr/share/applications/wayfar-installer.desktop"_s})
        QVERIFY2(QFileInfo(bundle.filePath(file)).isFile(), qPrintable(file));
    const QByteArray desktop = contentsOf(bundle.filePath(u"wayfar-installer.desktop"_s));
    QVERIFY(desktop.contains("\nIcon=wayfar-installer\n"));
}

void TestBundleFolder::theMenuEntryStartsTheStarterWhateverTheFolderIsCalled_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << u"games"_s;
    QTest::newRow("blank") << u"my games"_s;
    QTest::newRow("dollar") << u"my $HOME games"_s;
    QTest::newRow("percent") << u"100%f games"_s;
    QTest::newRow("quotes") << u"my \"best\" games"_s;
    QTest::newRow("apostrophe") << u"rowan's games"_s;
    QTest::newRow("backslash") << u"a\\b games"_s;
    QTest::newRow("backslash before an escape's letter") << u"a\\new games"_s;
    QTest::newRow("equals sign") << u"a=b games"_s;
    QTest::newRow("backquote") << u"a`b games"_s;
    QTest::newRow("ampersand and bar") << u"a&b|c games"_s;
    QTest::newRow("beyond ASCII") << u"Spiele für Rowan"_s;
}

void TestBundleFolder::theMenuEntryStartsTheStarterWhateverTheFolderIsCalled()
{
    QFETCH(QString, name);
    const QTemporaryDir world;
    const QString folder = world.filePath(name);
    const QString bundle = folder + u"/WayfarRoutes_1.2.6.app"_s;
    QVERIFY(QDir().mkpath(folder));
    QCOMPARE(QProcess::execute(u"cp"_s, {u"-r"_s, QStringLiteral(BUNDLE), bundle}), 0);
    QVERIFY(QFile::remove(bundle + u"/AppRun"_s));
    QFile start(bundle + u"/AppRun"_s);
    QVERIFY(start.open(QIODevice::WriteOnly));
    start.write("#!/bin/sh\necho started >\"" + world.path().toUtf8() + "/mark\"\n");
    start.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    start.close();

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_DATA_HOME"_s, world.filePath(u"data"_s));
    QProcess entry;
    entry.setProcessEnvironment(environment);
    entry.start(bundle + u"/usr/bin/wayfar-menu-entry"_s, QStringList());
    QVERIFY(entry.waitForFinished());
    QCOMPARE(entry.exitCode(), 0);
    QVERIFY(QFileInfo(folder + u"/wayfar-installer"_s).isExecutable());

    // The desktop's own reading of the entry.
    const QString desktop = world.filePath(u"data/applications/wayfar-installer.desktop"_s);
    QVERIFY2(!QStandardPaths::findExecutable(u"gio"_s).isEmpty(), "gio starts desktop entries");
    QCOMPARE(QProcess::execute(u"gio"_s, {u"launch"_s, desktop}), 0);
    QTRY_COMPARE_WITH_TIMEOUT(contentsOf(world.filePath(u"mark"_s)), QByteArray("started\n"), 10000);
}

QTEST_GUILESS_MAIN(TestBundleFolder)

#include "TestBundleFolder.moc"
