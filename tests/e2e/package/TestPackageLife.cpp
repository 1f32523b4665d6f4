#include "demo/VendorServer.h"
#include "support/Tree.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

// The stages of one package's life, in order, each beginning where the one before ended: in a copy of the machine, as
// root of it. in-own-root.sh makes it.

namespace
{
const QString bundles = u"/usr/lib/wayfar-installer"_s;
const QString menuEntry = u"/usr/share/applications/" WAYFAR_APPLICATION_ID ".desktop"_s;

QString bundle(const QString &version)
{
    return bundles + u"/WayfarRoutes_%1.app"_s.arg(version);
}

QByteArray contentsOf(const QString &path)
{
    return FileManager::contentsOfFile(toPath(path)).value_or(QByteArray());
}

// The process of the bundle's program; 0 when it does not run.
pid_t processOf(const QString &version)
{
    const QString program = bundle(version) + u"/usr/bin/wayfar-installer"_s;
    for (const QString &process : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        if (process.toInt() > 0 && QFile::symLinkTarget(u"/proc/%1/exe"_s.arg(process)) == program)
            return process.toInt();
    }
    return 0;
}

QByteArray xdotool(const QStringList &arguments)
{
    QProcess tool;
    tool.start(u"xdotool"_s, arguments);
    tool.waitForFinished();
    return tool.readAllStandardOutput();
}

// The splash and the question are smaller. The class is the one that the menu entry names.
bool isMainWindowShown()
{
    const QByteArrayList windows =
        xdotool({u"search"_s, u"--onlyvisible"_s, u"--class"_s, u"^wayfar-installer$"_s}).split('\n');
    return std::ranges::any_of(windows, [](const QByteArray &window) {
        const QByteArray geometry = xdotool({u"getwindowgeometry"_s, u"--shell"_s, QString::fromLatin1(window)});
        return geometry.mid(geometry.indexOf("WIDTH=") + 6).split('\n').constFirst().toInt() > 700;
    });
}

// The player, who asks for the program by its name, or chooses it in the menu.
void startAsPlayer(const QStringList &program = {u"wayfar-installer"_s})
{
    QStringList command = {u"--reuid=4001"_s,
                           u"--regid=4001"_s,
                           u"--init-groups"_s,
                           u"env"_s,
                           u"-i"_s,
                           u"HOME=/home/player"_s,
                           u"PATH=/usr/bin:/bin"_s,
                           u"XDG_RUNTIME_DIR=/run/user/4001"_s,
                           u"LANG=C.UTF-8"_s,
                           u"QT_QUICK_BACKEND=software"_s};
    for (const char *variable : {"DISPLAY", "QTWEBENGINE_DISABLE_SANDBOX"}) {
        if (qEnvironmentVariableIsSet(variable))
            command.append(QString::fromLatin1(variable) + u'=' + qEnvironmentVariable(variable));
    }
    QVERIFY(QProcess::startDetached(u"setpriv"_s, command << program, u"/home/player"_s));
}

void waitForMainWindow(const QString &version)
{
    QTRY_VERIFY_WITH_TIMEOUT(processOf(version) > 0 && isMainWindowShown(), 30000);
}

// And its windows, which go a moment later.
void endProgram(const QString &version)
{
    const pid_t process = processOf(version);
    QVERIFY(process > 0);
    QCOMPARE(::kill(process, SIGTERM), 0);
    QTRY_VERIFY_WITH_TIMEOUT(processOf(version) == 0 && !isMainWindowShown(), 30000);
}

int dpkg(const QStringList &arguments)
{
    return QProcess::execute(u"dpkg"_s, arguments);
}

// What is there of ours beyond dpkg's own books and the trial's.
QStringList ourFiles()
{
    QStringList files;
    QDirIterator changed(u"/changed"_s, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (changed.hasNext()) {
        const QString file = changed.next().mid(8);
        const bool isOfTheTrial = file.startsWith(u"/var/lib/dpkg/"_s) || file.startsWith(u"/trial/"_s);
        if (file.contains(u"wayfar"_s, Qt::CaseInsensitive) && !isOfTheTrial)
            files.append(file);
    }
    return files;
}
} // namespace

class TestPackageLife : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { QVERIFY2(!m_isOver, "the stage before went wrong"); }
    void cleanup() { m_isOver = m_isOver || QTest::currentTestFailed(); }

    void itInstallsBesideWhatItDependsOn();
    void anOrdinaryUserStartsItByItsName();
    void itsOwnUpgradeGoesBesideIt();
    void itsMenuEntryStartsTheNewest();
    void aNewerPackageTakesTheOldOnesPlace();
    void itsRemovalTakesTheUpgradesToo();
    void onlyThePlayersOwnFilesAreLeft();

private:
    VendorServer m_vendor = VendorServer({.port = 443});
    QString m_package;
    bool m_isOver = false;
};

void TestPackageLife::initTestCase()
{
    m_package = QDir().entryList({u"*.deb"_s}).value(0);
    QFile authorities(u"/etc/ssl/certs/ca-certificates.crt"_s);
    QVERIFY(authorities.open(QIODevice::Append));
    authorities.write(contentsOf(m_vendor.caFile()));
    QCOMPARE(ourFiles(), QStringList());
}

void TestPackageLife::itInstallsBesideWhatItDependsOn()
{
    QCOMPARE(dpkg({u"--install"_s, m_package}), 0);
    for (const QString &file : {u"/usr/bin/wayfar-installer"_s, u"/usr/share/man/man1/wayfar-installer.1.gz"_s,
                                menuEntry, u"/usr/share/metainfo/" WAYFAR_APPLICATION_ID ".metainfo.xml"_s,
                                u"/usr/share/icons/hicolor/16x16/apps/" WAYFAR_APPLICATION_ID ".png"_s,
                                u"/usr/share/icons/hicolor/scalable/apps/" WAYFAR_APPLICATION_ID ".svg"_s})
        QVERIFY2(QFileInfo(file).isFile(), qPrintable(file));
}

void TestPackageLife::anOrdinaryUserStartsItByItsName()
{
    startAsPlayer();
    waitForMainWindow(u"1.2.6"_s);
    QVERIFY(contentsOf(menuEntry).contains("\nStartupWMClass=wayfar-installer\n"));
    QCOMPARE(m_vendor.requests("/feed").size(), 1);
    endProgram(u"1.2.6"_s);
}

void TestPackageLife::itsOwnUpgradeGoesBesideIt()
{
    runIn(u"/trial/archive"_s, "cp -r " + bundle(u"1.2.6"_s).toUtf8() + " WayfarRoutes_1.3.0.app; zip -qr it.zip .");
    m_vendor.setInstallerVersion("1.3.0");
    m_vendor.setInstallerArchive("1.3.0", contentsOf(u"/trial/archive/it.zip"_s));
    startAsPlayer();
    QVERIFY(m_vendor.waitForRequests("/api/macVersion", 2));
    // The splash does not mind a key, and the question takes it for its YES.
    const auto answerYes = [this] {
        xdotool({u"key"_s, u"Return"_s});
        return !m_vendor.requests("/WayfarRoutes_1.3.0.zip").isEmpty();
    };
    QTRY_VERIFY_WITH_TIMEOUT(answerYes(), 30000);
    m_vendor.setInstallerVersion("1.2.6"); // as which the new one was built, too
    waitForMainWindow(u"1.3.0"_s);
    QCOMPARE(QFileInfo(bundle(u"1.3.0"_s)).owner(), u"root"_s);
    QVERIFY(QFile::exists(bundle(u"1.2.6"_s)));
    endProgram(u"1.3.0"_s);
}

void TestPackageLife::itsMenuEntryStartsTheNewest()
{
    startAsPlayer({u"gio"_s, u"launch"_s, menuEntry});
    waitForMainWindow(u"1.3.0"_s);
    endProgram(u"1.3.0"_s);
}

void TestPackageLife::aNewerPackageTakesTheOldOnesPlace()
{
    runIn(u"/trial/newer"_s, "dpkg-deb -R ../" + m_package.toUtf8() + R"( tree
        mv tree/usr/lib/wayfar-installer/WayfarRoutes_1.2.6.app tree/usr/lib/wayfar-installer/WayfarRoutes_1.4.0.app
        ln -sf ../lib/wayfar-installer/WayfarRoutes_1.4.0.app/usr/bin/wayfar-starter tree/usr/bin/wayfar-installer
        sed -i 's/^Version: .*/Version: 1.4.0-1/' tree/DEBIAN/control
        dpkg-deb --root-owner-group -Znone -b tree newer.deb)");
    QCOMPARE(dpkg({u"--install"_s, u"newer/newer.deb"_s}), 0);
    QCOMPARE(QDir(bundles).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{u"WayfarRoutes_1.3.0.app"_s, u"WayfarRoutes_1.4.0.app"_s}));
    startAsPlayer();
    waitForMainWindow(u"1.4.0"_s);
    endProgram(u"1.4.0"_s);
}

void TestPackageLife::itsRemovalTakesTheUpgradesToo()
{
    QCOMPARE(dpkg({u"--remove"_s, u"wayfar-installer"_s}), 0);
    QVERIFY(!QFile::exists(bundles));
    QCOMPARE(dpkg({u"--purge"_s, u"wayfar-installer"_s}), 0);
}

void TestPackageLife::onlyThePlayersOwnFilesAreLeft()
{
    const QStringList files = ourFiles();
    QVERIFY(!files.isEmpty());
    for (const QString &file : files)
        QVERIFY2(file.startsWith(u"/home/player/.local/share/WayfarInstaller"_s), qPrintable(file));
}

QTEST_GUILESS_MAIN(TestPackageLife)

#include "TestPackageLife.moc"
