#include <QDir>
#include <QFile>
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
};

void TestBundleFolder::aBundleIsAFolderInTheAppDirForm()
{
    const QDir bundle(QStringLiteral(BUNDLE));
    const QString id = QStringLiteral(WAYFAR_APPLICATION_ID);
    for (const QString &program : {u"AppRun"_s, u"usr/bin/wayfar-installer"_s, u"usr/bin/wayfar-starter"_s,
                                   u"usr/bin/wayfar-menu-entry"_s, u"usr/bin/wayfar-check-vendor"_s})
        QVERIFY2(QFileInfo(bundle.filePath(program)).isExecutable(), qPrintable(program));
    for (const QString &file :
         {id + u".desktop"_s, id + u".png"_s, u"README"_s, u"usr/share/applications/"_s + id + u".desktop"_s,
          u"usr/share/metainfo/"_s + id + u".metainfo.xml"_s})
        QVERIFY2(QFileInfo(bundle.filePath(file)).isFile(), qPrintable(file));
    const QByteArray desktop = contentsOf(bundle.filePath(id + u".desktop"_s));
    QVERIFY(desktop.contains("\nIcon=" + id.toLatin1() + '\n'));
}

QTEST_GUILESS_MAIN(TestBundleFolder)

#include "TestBundleFolder.moc"
