#include "platform/Workspace.h"

#include "support/Rerun.h"
#include "support/TestWorld.h"

#include <QDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
// A program that tells of its start: its session, its folder and what it was started with.
const QByteArray recorder = R"(#!/bin/sh
PATH=/usr/bin:/bin
{
    ps -o sid= -p $$
    pwd
    echo "$0"
    for argument; do echo "$argument"; done
} >"$WAYFAR_RECORDS/call.new"
mv "$WAYFAR_RECORDS/call.new" "$WAYFAR_RECORDS/call"
)";

// One that stays until somebody lets it go.
const QByteArray stayer = R"(#!/bin/sh
read word <"$WAYFAR_RECORDS/fifo"
PATH=/usr/bin:/bin
echo "$word" >"$WAYFAR_RECORDS/done.new"
mv "$WAYFAR_RECORDS/done.new" "$WAYFAR_RECORDS/done"
)";
} // namespace

class TestWorkspace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aProgramIsStarted_data();
    void aProgramIsStarted();
    void aBundleIsStarted_data();
    void aBundleIsStarted();
    void aBundleWithoutAProgramStartsNothing();
    void aDesktopEntryIsLaunched();
    void aRealDesktopEntryStartsWhatItsExecLineSays();
    void aDesktopEntryThatStartsNothingIsAFailure();
    void aWindowsProgramIsStartedByWine_data();
    void aWindowsProgramIsStartedByWine();
    void withoutWineAWindowsProgramIsLeftToTheDesktop();
    void anythingElseIsLeftToTheDesktop_data();
    void anythingElseIsLeftToTheDesktop();
    void aRelativePathIsMadeAbsolute();

    void nothingOpensAMissingPath_data();
    void nothingOpensAMissingPath();
    void aProgramThatCannotRunIsAFailure_data();
    void aProgramThatCannotRunIsAFailure();
    void aDesktopThatOpensNothingIsAFailure();
    void withoutTheDesktopsToolsItIsAFailure();

    void whatWasStartedHasItsOwnSession_data();
    void whatWasStartedHasItsOwnSession();
    void whatWasStartedOutlivesTheProgram_data();
    void whatWasStartedOutlivesTheProgram();

    void aWebAddressOpensInTheBrowser_data();
    void aWebAddressOpensInTheBrowser();
    void noOtherAddressIsOpened_data();
    void noOtherAddressIsOpened();

    void anApplicationIsAFolderBundle();

private:
    QString at(const QString &name) const { return m_world->path(name); }
    void makeProgram(const QString &name, const QByteArray &text = recorder) const;
    void makeTools(const QByteArray &text = recorder) const;
    QStringList awaitCall() const; // without the session; empty when none came
    bool isCalled() const { return QFileInfo::exists(at(u"records/call"_s)); }

    std::unique_ptr<TestWorld> m_world;
    QByteArray m_path;
    QString m_folder;
};

void TestWorkspace::init()
{
    m_world = std::make_unique<TestWorld>();
    m_path = qgetenv("PATH");
    m_folder = QDir::currentPath();
    QVERIFY(QDir().mkpath(at(u"records"_s)));
    QVERIFY(QDir().mkpath(at(u"bin"_s)));
    if (!Rerun::isRerun()) {
        qputenv("PATH", at(u"bin"_s).toLocal8Bit()); // what this machine has installed must not matter
        qputenv("WAYFAR_RECORDS", at(u"records"_s).toLocal8Bit());
    }
}

void TestWorkspace::cleanup()
{
    QDir::setCurrent(m_folder);
    qputenv("PATH", m_path);
    m_world.reset();
}

void TestWorkspace::makeProgram(const QString &name, const QByteArray &text) const
{
    m_world->write(at(name), text);
    QVERIFY(QFile::setPermissions(at(name), QFile::Permissions(0x7755)));
}

void TestWorkspace::makeTools(const QByteArray &text) const
{
    for (const QString &tool : {u"bin/xdg-open"_s, u"bin/wine"_s, u"bin/gio"_s})
        makeProgram(tool, text);
}

QStringList TestWorkspace::awaitCall() const
{
    const bool came = QTest::qWaitFor([this] { return isCalled(); });
    QStringList lines = QString::fromUtf8(m_world->read(at(u"records/call"_s))).split(u'\n');
    if (!came || lines.size() < 4)
        return {};
    lines.removeLast();
    return lines.sliced(1);
}

void TestWorkspace::aProgramIsStarted_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("script") << u"game/launcher"_s;
    QTest::newRow("script with an ending") << u"game/launcher.sh"_s;
    QTest::newRow("any letter in its name") << u"Spiel ä 'x' \"y\" $(z)/World of Warcraft Launcher"_s;
    QTest::newRow("executable") << u"game/binary"_s;
    QTest::newRow("AppImage") << u"game/Launcher.AppImage"_s;
}

void TestWorkspace::aProgramIsStarted()
{
    makeTools();
    QFETCH(const QString, name);
    const QString tag = QString::fromUtf8(QTest::currentDataTag());
    if (tag == u"executable"_s || tag == u"AppImage"_s) { // this one records itself, see main
        QVERIFY(QDir().mkpath(at(u"game"_s)));
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), at(name)));
    } else {
        makeProgram(name);
    }
    QVERIFY(Workspace().openFile(at(name)));
    QCOMPARE(awaitCall(), QStringList({QFileInfo(at(name)).path(), at(name)}));
}

void TestWorkspace::aBundleIsStarted_data()
{
    QTest::addColumn<QString>("bundle");
    QTest::addColumn<QStringList>("programs"); // in it
    QTest::addColumn<QString>("started");

    const auto row = [](const char *rule, const QString &bundle, const QStringList &programs, const QString &started) {
        QTest::newRow(rule) << bundle << programs << started;
    };
    row("by its AppRun", u"Game.app"_s, {u"AppRun"_s, u"Game"_s}, u"AppRun"_s);
    row("else by its own name", u"World of Warcraft Launcher.app"_s, {u"World of Warcraft Launcher"_s},
        u"World of Warcraft Launcher"_s);
    row("a name with points", u"Game 1.2.app"_s, {u"Game 1.2"_s}, u"Game 1.2"_s);
    row("a folder that only its AppRun shows", u"game"_s, {u"AppRun"_s}, u"AppRun"_s);
    row("written with a slash at the end", u"Game.app/"_s, {u"Game"_s}, u"Game"_s);
}

void TestWorkspace::aBundleIsStarted()
{
    makeTools();
    QFETCH(const QString, bundle);
    QFETCH(const QStringList, programs);
    QFETCH(const QString, started);
    const QString folder = QDir::cleanPath(at(bundle));
    for (const QString &program : programs)
        makeProgram(QDir::cleanPath(bundle) + u'/' + program);
    QVERIFY(Workspace().openFile(at(bundle)));
    QCOMPARE(awaitCall(), QStringList({folder, folder + u'/' + started}));
}

void TestWorkspace::aBundleWithoutAProgramStartsNothing()
{
    makeTools();
    m_world->write(at(u"Game.app/AppRun"_s), recorder); // not executable
    m_world->write(at(u"Game.app/readme"_s), "text");
    QVERIFY(!Workspace().openFile(at(u"Game.app"_s)));
    QVERIFY(!isCalled());

    makeProgram(u"Game.app/Game"_s);
    QVERIFY(Workspace().openFile(at(u"Game.app"_s)));
    QCOMPARE(awaitCall().value(1), at(u"Game.app/Game"_s));
}

void TestWorkspace::aDesktopEntryIsLaunched()
{
    makeTools();
    m_world->write(at(u"game.desktop"_s), "[Desktop Entry]\n");
    QVERIFY(Workspace().openFile(at(u"game.desktop"_s)));
    QCOMPARE(awaitCall().sliced(1), QStringList({at(u"bin/gio"_s), u"launch"_s, at(u"game.desktop"_s)}));
}

void TestWorkspace::aRealDesktopEntryStartsWhatItsExecLineSays()
{
    qputenv("PATH", m_path);
    makeProgram(u"game/launcher"_s);
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Game\nExec=";
    m_world->write(at(u"game.desktop"_s), entry + at(u"game/launcher"_s).toUtf8() + " --play \"one game\"\n");
    QVERIFY(Workspace().openFile(at(u"game.desktop"_s)));
    QCOMPARE(awaitCall().sliced(1), QStringList({at(u"game/launcher"_s), u"--play"_s, u"one game"_s}));
}

void TestWorkspace::aDesktopEntryThatStartsNothingIsAFailure()
{
    qputenv("PATH", m_path);
    m_world->write(at(u"gone.desktop"_s), "[Desktop Entry]\nType=Application\nName=Game\nExec=/no/such/launcher\n");
    m_world->write(at(u"damaged.desktop"_s), "no desktop entry\n");
    QVERIFY(!Workspace().openFile(at(u"gone.desktop"_s)));
    QVERIFY(!Workspace().openFile(at(u"damaged.desktop"_s)));
}

void TestWorkspace::aWindowsProgramIsStartedByWine_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("small letters") << u"game/World of Warcraft Launcher.exe"_s;
    QTest::newRow("capital letters") << u"game/WOW.EXE"_s;
}

void TestWorkspace::aWindowsProgramIsStartedByWine()
{
    makeTools();
    QFETCH(const QString, name);
    m_world->write(at(name), "MZ");
    QVERIFY(Workspace().openFile(at(name)));
    QCOMPARE(awaitCall(), QStringList({at(u"game"_s), at(u"bin/wine"_s), at(name)}));
}

void TestWorkspace::withoutWineAWindowsProgramIsLeftToTheDesktop()
{
    makeTools();
    QVERIFY(QFile::remove(at(u"bin/wine"_s)));
    makeProgram(u"wow.exe"_s, "MZ");
    QVERIFY(Workspace().openFile(at(u"wow.exe"_s)));
    QCOMPARE(awaitCall().sliced(1), QStringList({at(u"bin/xdg-open"_s), at(u"wow.exe"_s)}));
}

void TestWorkspace::anythingElseIsLeftToTheDesktop_data()
{
    QTest::addColumn<QString>("name"); // a folder when it ends in a slash
    QTest::addColumn<bool>("executable");

    QTest::newRow("document") << u"notes.txt"_s << false;
    QTest::newRow("script that is not executable") << u"script"_s << false;
    QTest::newRow("text on a disk without modes") << u"notes.txt"_s << true;
    QTest::newRow("folder") << u"folder/"_s << false;
    QTest::newRow("name like an option") << u"-h"_s << false;
    QTest::newRow("any letter in its name") << u"ä 'x' \"y\" $(z) %20#"_s << false;
}

void TestWorkspace::anythingElseIsLeftToTheDesktop()
{
    makeTools();
    QFETCH(const QString, name);
    QFETCH(const bool, executable);
    const QString path = QDir::cleanPath(at(name));
    if (name.endsWith(u'/'))
        QVERIFY(QDir().mkpath(path));
    else if (executable)
        makeProgram(name, "some text\n");
    else
        m_world->write(path, "#!/bin/sh\n");
    QVERIFY(Workspace().openFile(path));
    QCOMPARE(awaitCall().sliced(1), QStringList({at(u"bin/xdg-open"_s), path}));
}

void TestWorkspace::aRelativePathIsMadeAbsolute()
{
    makeTools();
    m_world->write(at(u"-notes.txt"_s), "text");
    QVERIFY(QDir::setCurrent(at({})));
    QVERIFY(Workspace().openFile(u"-notes.txt"_s));
    QCOMPARE(awaitCall().value(2), at(u"-notes.txt"_s));
}

void TestWorkspace::nothingOpensAMissingPath_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("missing") << u"missing"_s;
    QTest::newRow("missing bundle") << u"Game.app"_s;
    QTest::newRow("missing desktop entry") << u"game.desktop"_s;
    QTest::newRow("missing Windows program") << u"wow.exe"_s;
    QTest::newRow("dangling link") << u"dangling"_s;
}

void TestWorkspace::nothingOpensAMissingPath()
{
    makeTools();
    QVERIFY(QFile::link(at(u"nowhere"_s), at(u"dangling"_s)));
    QFETCH(const QString, name);
    QVERIFY(!Workspace().openFile(at(name)));
    QVERIFY(!Workspace().launchApplication(at(name)));
    QVERIFY(!Workspace().openFile(u""_s));
    QVERIFY(!isCalled());
}

void TestWorkspace::aProgramThatCannotRunIsAFailure_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("script without its interpreter") << QByteArray("#!/no/such/interpreter\n");
    QTest::newRow("damaged executable") << QByteArray("\x7f"
                                                      "ELF damaged");
}

void TestWorkspace::aProgramThatCannotRunIsAFailure()
{
    makeTools();
    QFETCH(const QByteArray, bytes);
    makeProgram(u"launcher"_s, bytes);
    QVERIFY(!Workspace().openFile(at(u"launcher"_s)));
    QVERIFY(!isCalled());
}

void TestWorkspace::aDesktopThatOpensNothingIsAFailure()
{
    makeTools("#!/bin/sh\nexit 3\n");
    m_world->write(at(u"notes.txt"_s), "text");
    m_world->write(at(u"game.desktop"_s), "text");
    QVERIFY(!Workspace().openFile(at(u"notes.txt"_s)));
    QVERIFY(!Workspace().openFile(at(u"game.desktop"_s)));
}

void TestWorkspace::withoutTheDesktopsToolsItIsAFailure()
{
    m_world->write(at(u"notes.txt"_s), "text");
    m_world->write(at(u"game.desktop"_s), "text");
    m_world->write(at(u"wow.exe"_s), "MZ");
    QVERIFY(!Workspace().openFile(at(u"notes.txt"_s)));
    QVERIFY(!Workspace().openFile(at(u"game.desktop"_s)));
    QVERIFY(!Workspace().openFile(at(u"wow.exe"_s)));
    QVERIFY(!Workspace().openURL(QUrl(u"https://wayfar.example/"_s)));
}

void TestWorkspace::whatWasStartedHasItsOwnSession_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("program") << u"launcher"_s;
    QTest::newRow("by the desktop") << u"notes.txt"_s;
    QTest::newRow("desktop entry") << u"game.desktop"_s;
    QTest::newRow("Windows program") << u"wow.exe"_s;
}

void TestWorkspace::whatWasStartedHasItsOwnSession()
{
    makeTools();
    makeProgram(u"launcher"_s);
    for (const QString &name : {u"notes.txt"_s, u"game.desktop"_s, u"wow.exe"_s})
        m_world->write(at(name), "text");
    QFETCH(const QString, name);
    QVERIFY(Workspace().openFile(at(name)));
    QVERIFY(!awaitCall().isEmpty());
    const QList<QByteArray> lines = m_world->read(at(u"records/call"_s)).split('\n');
    QVERIFY(lines.first().trimmed().toInt() > 0);
    QVERIFY(lines.first().trimmed().toInt() != ::getsid(0));
}

void TestWorkspace::whatWasStartedOutlivesTheProgram_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("program") << u"launcher"_s;
    QTest::newRow("by the desktop") << u"notes.txt"_s;
}

void TestWorkspace::whatWasStartedOutlivesTheProgram()
{
    if (Rerun::isRerun()) {
        QVERIFY(Workspace().openFile(qEnvironmentVariable("WAYFAR_TEST_FILE")));
        return;
    }
    makeTools(stayer);
    makeProgram(u"launcher"_s, stayer);
    m_world->write(at(u"notes.txt"_s), "text");
    const QByteArray fifo = at(u"records/fifo"_s).toLocal8Bit();
    QCOMPARE(::mkfifo(fifo.constData(), 0600), 0);
    QFETCH(const QString, name);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"WAYFAR_TEST_FILE"_s, at(name));
    environment.insert(u"PATH"_s, at(u"bin"_s) + u':' + QString::fromLocal8Bit(m_path));
    const auto result = Rerun::run({}, environment);
    QVERIFY2(result.status == 0, result.output.constData());

    QVERIFY(!QFileInfo::exists(at(u"records/done"_s)));
    QFile pipe(at(u"records/fifo"_s));
    QVERIFY(pipe.open(QIODevice::WriteOnly)); // blocks until somebody reads
    pipe.write("go\n");
    pipe.close();
    QTRY_COMPARE(m_world->read(at(u"records/done"_s)), "go\n");
}

void TestWorkspace::aWebAddressOpensInTheBrowser_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("handedOver");

    QTest::newRow("https") << u"https://www.wayfar.example/installer/redirect.php"_s
                           << u"https://www.wayfar.example/installer/redirect.php"_s;
    QTest::newRow("http") << u"http://wayfar.example/?a=1&b=2#part"_s << u"http://wayfar.example/?a=1&b=2#part"_s;
    QTest::newRow("capital letters") << u"HTTPS://wayfar.example/"_s << u"https://wayfar.example/"_s;
    QTest::newRow("what needs it is encoded")
        << u"https://wayfar.example/ä b\"$(x)"_s << u"https://wayfar.example/%C3%A4%20b%22$(x)"_s;
}

void TestWorkspace::aWebAddressOpensInTheBrowser()
{
    makeTools();
    QFETCH(const QString, address);
    QFETCH(const QString, handedOver);
    QVERIFY(Workspace().openURL(QUrl(address)));
    QCOMPARE(awaitCall().sliced(1), QStringList({at(u"bin/xdg-open"_s), handedOver}));
}

void TestWorkspace::noOtherAddressIsOpened_data()
{
    QTest::addColumn<QString>("address");

    QTest::newRow("file") << u"file:///etc/passwd"_s;
    QTest::newRow("file on a host") << u"file://host/share/x.desktop"_s;
    QTest::newRow("script") << u"javascript:alert(1)"_s;
    QTest::newRow("mail") << u"mailto:ann@wayfar.example"_s;
    QTest::newRow("ftp") << u"ftp://wayfar.example/x"_s;
    QTest::newRow("another program's scheme") << u"steam://run/1"_s;
    QTest::newRow("no scheme") << u"//wayfar.example/"_s;
    QTest::newRow("a path") << u"/usr/bin/env"_s;
    QTest::newRow("nothing") << u""_s;
}

void TestWorkspace::noOtherAddressIsOpened()
{
    makeTools();
    QFETCH(const QString, address);
    QVERIFY(!Workspace().openURL(QUrl(address)));
    QVERIFY(!isCalled());
}

void TestWorkspace::anApplicationIsAFolderBundle()
{
    makeTools();
    makeProgram(u"launcher"_s);
    m_world->write(at(u"folder/notes.txt"_s), "text");
    QVERIFY(!Workspace().launchApplication(at(u"launcher"_s)));
    QVERIFY(!Workspace().launchApplication(at(u"folder"_s)));
    QVERIFY(!isCalled());

    makeProgram(u"Wayfar Installer.app/AppRun"_s);
    QVERIFY(Workspace().launchApplication(at(u"Wayfar Installer.app/"_s)));
    QCOMPARE(awaitCall(), QStringList({at(u"Wayfar Installer.app"_s), at(u"Wayfar Installer.app/AppRun"_s)}));
}

// Copied to another name the program is a game that records its start.
int main(int argc, char **argv)
{
    const QString records = qEnvironmentVariable("WAYFAR_RECORDS");
    if (argc == 1 && !records.isEmpty()) {
        QFile call(records + u"/call.new"_s);
        call.open(QIODevice::WriteOnly);
        call.write(QByteArray::number(::getsid(0)) + '\n' + QDir::currentPath().toUtf8() + '\n' + argv[0] + '\n');
        return call.rename(records + u"/call"_s) ? 0 : 1;
    }
    QCoreApplication application(argc, argv);
    TestWorkspace test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestWorkspace.moc"
