#include "platform/Workspace.h"

#include "support/Files.h"
#include "support/Rerun.h"
#include "support/TestWorld.h"

#include <QDir>

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

const QString oddName = u"ä 'x' \"y\" $(z) %20#"_s;

struct Call {
    int session = 0;
    QString folder;
    QStringList command; // as it was started
};
} // namespace

class TestWorkspace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aGameIsStartedInItsFolder_data();
    void aGameIsStartedInItsFolder();
    void anythingElseIsLeftToATool_data();
    void anythingElseIsLeftToATool();
    void withoutWineAWindowsProgramIsLeftToTheDesktop();
    void aRelativePathIsMadeAbsolute();
    void aRealDesktopEntryStartsWhatItsExecLineSays();
    void anApplicationIsAFolderBundle();

    void whatCannotBeStartedIsAFailure_data();
    void whatCannotBeStartedIsAFailure();
    void aToolThatOpensNothingIsAFailure_data();
    void aToolThatOpensNothingIsAFailure();

    void itIsKnownBeforeWhatWouldStart_data();
    void itIsKnownBeforeWhatWouldStart();

    void whatWasStartedGetsNoneOfOurFiles_data();
    void whatWasStartedGetsNoneOfOurFiles();
    void whatWasStartedOutlivesTheProgram_data();
    void whatWasStartedOutlivesTheProgram();

    void aWebAddressOpensInTheBrowser_data();
    void aWebAddressOpensInTheBrowser();
    void noOtherAddressIsOpened_data();
    void noOtherAddressIsOpened();

private:
    QString at(const QString &name) const { return m_world->path(name); }
    void makeProgram(const QString &name, const QByteArray &text = recorder) const
    {
        makeFile(toPath(at(name)), text, 0755);
    }
    void makeTools(const QByteArray &text = recorder) const
    {
        for (const QString &tool : {u"bin/xdg-open"_s, u"bin/wine"_s, u"bin/gio"_s})
            makeProgram(tool, text);
    }
    Call awaitCall() const; // of no program when none came
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
    if (Rerun::isRerun())
        return;
    makeFolder(toPath(at(u"records"_s)));
    makeTools();
    qputenv("PATH", at(u"bin"_s).toLocal8Bit()); // what this machine has installed must not matter
    qputenv("WAYFAR_RECORDS", at(u"records"_s).toLocal8Bit());
}

void TestWorkspace::cleanup()
{
    QDir::setCurrent(m_folder);
    qputenv("PATH", m_path);
    m_world.reset();
}

Call TestWorkspace::awaitCall() const
{
    if (!QTest::qWaitFor([this] { return isCalled(); }))
        return {};
    QStringList lines = QString::fromUtf8(m_world->read(at(u"records/call"_s))).split(u'\n');
    lines.removeLast(); // what follows the last line end
    return {lines.value(0).trimmed().toInt(), lines.value(1), lines.mid(2)};
}

void TestWorkspace::aGameIsStartedInItsFolder_data()
{
    QTest::addColumn<QString>("opened");
    QTest::addColumn<QStringList>("programs"); // that are there; the first of them is started
    QTest::addColumn<QString>("folder");

    const auto row = [](const char *rule, const QString &opened, const QStringList &programs, const QString &folder) {
        QTest::newRow(rule) << opened << programs << folder;
    };
    row("script", u"game/launcher"_s, {u"game/launcher"_s}, u"game"_s);
    row("script with an ending", u"game/launcher.sh"_s, {u"game/launcher.sh"_s}, u"game"_s);
    row("any letter in its name", u"Spiel "_s + oddName + u"/launcher"_s, {u"Spiel "_s + oddName + u"/launcher"_s},
        u"Spiel "_s + oddName);
    row("executable", u"game/binary"_s, {u"game/binary"_s}, u"game"_s);
    row("AppImage", u"game/Launcher.AppImage"_s, {u"game/Launcher.AppImage"_s}, u"game"_s);
    row("a bundle by its AppRun", u"Game.app"_s, {u"Game.app/AppRun"_s, u"Game.app/Game"_s}, u"Game.app"_s);
    row("else by its own name", u"World of Warcraft Launcher.app"_s,
        {u"World of Warcraft Launcher.app/World of Warcraft Launcher"_s}, u"World of Warcraft Launcher.app"_s);
    row("a name with points", u"Game 1.2.app"_s, {u"Game 1.2.app/Game 1.2"_s}, u"Game 1.2.app"_s);
    row("a folder that only its AppRun shows", u"game"_s, {u"game/AppRun"_s}, u"game"_s);
    row("written with a slash at the end", u"Game.app/"_s, {u"Game.app/Game"_s}, u"Game.app"_s);
}

void TestWorkspace::aGameIsStartedInItsFolder()
{
    QFETCH(const QString, opened);
    QFETCH(const QStringList, programs);
    QFETCH(const QString, folder);
    for (const QString &program : programs)
        makeProgram(program);
    const QString tag = QString::fromUtf8(QTest::currentDataTag());
    if (tag == u"executable"_s || tag == u"AppImage"_s) { // this test records itself, see main
        QVERIFY(QFile::remove(at(opened)));
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), at(opened)));
    }
    QVERIFY(Workspace().openFile(at(opened)));
    const Call call = awaitCall();
    QCOMPARE(call.command, QStringList{at(programs.first())});
    QCOMPARE(call.folder, at(folder));
    QVERIFY(call.session > 0);
    QVERIFY(call.session != ::getsid(0)); // it does not end with our terminal
}

void TestWorkspace::anythingElseIsLeftToATool_data()
{
    QTest::addColumn<QString>("name"); // a folder when it ends in a slash
    QTest::addColumn<bool>("executable");
    QTest::addColumn<QStringList>("command");

    const auto row = [](const char *rule, const QString &name, bool executable, const QStringList &command) {
        QTest::newRow(rule) << name << executable << command;
    };
    row("document", u"notes.txt"_s, false, {u"xdg-open"_s});
    row("script that is not executable", u"script"_s, false, {u"xdg-open"_s});
    row("text on a disk without modes", u"notes.txt"_s, true, {u"xdg-open"_s});
    row("folder", u"folder/"_s, false, {u"xdg-open"_s});
    row("name like an option", u"-h"_s, false, {u"xdg-open"_s});
    row("any letter in its name", oddName, false, {u"xdg-open"_s});
    row("desktop entry", u"game.desktop"_s, false, {u"gio"_s, u"launch"_s});
    row("Windows program", u"game/World of Warcraft Launcher.exe"_s, false, {u"wine"_s});
    row("Windows program in capitals", u"game/WOW.EXE"_s, false, {u"wine"_s});
}

void TestWorkspace::anythingElseIsLeftToATool()
{
    QFETCH(const QString, name);
    QFETCH(const bool, executable);
    QFETCH(QStringList, command);
    const QString path = QDir::cleanPath(at(name));
    if (name.endsWith(u'/'))
        makeFolder(toPath(path));
    else
        makeFile(toPath(path), executable ? "some text\n" : "#!/bin/sh\n", executable ? 0755 : 0644);
    QVERIFY(Workspace().openFile(path));
    const Call call = awaitCall();
    command.first().prepend(at(u"bin/"_s));
    QCOMPARE(call.command, command + QStringList{path});
    if (command.first().endsWith(u"wine"_s))
        QCOMPARE(call.folder, QFileInfo(path).path());
    QVERIFY(call.session > 0);
    QVERIFY(call.session != ::getsid(0));
}

void TestWorkspace::withoutWineAWindowsProgramIsLeftToTheDesktop()
{
    QVERIFY(QFile::remove(at(u"bin/wine"_s)));
    makeProgram(u"wow.exe"_s, "MZ");
    QVERIFY(Workspace().openFile(at(u"wow.exe"_s)));
    QCOMPARE(awaitCall().command, QStringList({at(u"bin/xdg-open"_s), at(u"wow.exe"_s)}));
}

void TestWorkspace::aRelativePathIsMadeAbsolute()
{
    m_world->write(at(u"-notes.txt"_s), "text");
    QVERIFY(QDir::setCurrent(at({})));
    QVERIFY(Workspace().openFile(u"-notes.txt"_s));
    QCOMPARE(awaitCall().command, QStringList({at(u"bin/xdg-open"_s), at(u"-notes.txt"_s)}));
}

void TestWorkspace::aRealDesktopEntryStartsWhatItsExecLineSays()
{
    qputenv("PATH", m_path);
    makeProgram(u"game/launcher"_s);
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Game\nExec=";
    m_world->write(at(u"game.desktop"_s), entry + at(u"game/launcher"_s).toUtf8() + " --play \"one game\"\n");
    QVERIFY(Workspace().openFile(at(u"game.desktop"_s)));
    QCOMPARE(awaitCall().command, QStringList({at(u"game/launcher"_s), u"--play"_s, u"one game"_s}));

    m_world->write(at(u"gone.desktop"_s), entry + "/no/such/launcher\n");
    m_world->write(at(u"damaged.desktop"_s), "no desktop entry\n");
    QVERIFY(!Workspace().openFile(at(u"gone.desktop"_s)));
    QVERIFY(!Workspace().openFile(at(u"damaged.desktop"_s)));
}

void TestWorkspace::anApplicationIsAFolderBundle()
{
    makeProgram(u"launcher"_s);
    m_world->write(at(u"folder/notes.txt"_s), "text");
    for (const QString &none : {u"launcher"_s, u"folder"_s, u"Wayfar Installer.app"_s})
        QVERIFY(!Workspace().launchApplication(at(none)));
    QVERIFY(!isCalled());

    makeProgram(u"Wayfar Installer.app/AppRun"_s);
    QVERIFY(Workspace().launchApplication(at(u"Wayfar Installer.app/"_s)));
    const Call call = awaitCall();
    QCOMPARE(call.command, QStringList{at(u"Wayfar Installer.app/AppRun"_s)});
    QCOMPARE(call.folder, at(u"Wayfar Installer.app"_s));
}

void TestWorkspace::whatCannotBeStartedIsAFailure_data()
{
    QTest::addColumn<QString>("opened");
    QTest::addColumn<QString>("file"); // that is there, none when empty
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("mode");

    const auto missing = [](const char *rule, const QString &opened) {
        QTest::newRow(rule) << opened << QString() << QByteArray() << 0;
    };
    missing("missing", u"missing"_s);
    missing("missing bundle", u"Game.app"_s);
    missing("missing desktop entry", u"game.desktop"_s);
    missing("missing Windows program", u"wow.exe"_s);
    missing("dangling link", u"dangling"_s);
    const auto row = [](const char *rule, const QString &opened, const QString &file, const QByteArray &bytes,
                        int mode) { QTest::newRow(rule) << opened << file << bytes << mode; };
    row("bundle whose program is not executable", u"Game.app"_s, u"Game.app/AppRun"_s, recorder, 0644);
    row("bundle without a program", u"Game.app"_s, u"Game.app/readme"_s, "text", 0644);
    row("script without its interpreter", u"launcher"_s, u"launcher"_s, "#!/no/such/interpreter\n", 0755);
    row("damaged executable", u"launcher"_s, u"launcher"_s,
        "\x7f"
        "ELF damaged",
        0755);
}

void TestWorkspace::whatCannotBeStartedIsAFailure()
{
    QFETCH(const QString, opened);
    QFETCH(const QString, file);
    QFETCH(const QByteArray, bytes);
    QFETCH(const int, mode);
    makeLink("nowhere", toPath(at(u"dangling"_s)));
    if (!file.isEmpty())
        makeFile(toPath(at(file)), bytes, mode_t(mode));
    QVERIFY(!Workspace().openFile(at(opened)));
    QVERIFY(!Workspace().launchApplication(at(opened)));
    QVERIFY(!Workspace().openFile(u""_s));
    QVERIFY(!isCalled());
}

void TestWorkspace::aToolThatOpensNothingIsAFailure_data()
{
    QTest::addColumn<bool>("isThere");
    QTest::newRow("not there") << false;
    QTest::newRow("that fails") << true;
}

void TestWorkspace::aToolThatOpensNothingIsAFailure()
{
    QFETCH(const bool, isThere);
    for (const QString &name : {u"notes.txt"_s, u"game.desktop"_s, u"wow.exe"_s})
        m_world->write(at(name), "text");
    if (isThere)
        makeTools("#!/bin/sh\nexit 3\n");
    else
        QVERIFY(QDir(at(u"bin"_s)).removeRecursively());
    QVERIFY(!Workspace().openFile(at(u"notes.txt"_s)));
    QVERIFY(!Workspace().openFile(at(u"game.desktop"_s)));
    if (!isThere) { // what these two start detached is not waited for
        QVERIFY(!Workspace().openFile(at(u"wow.exe"_s)));
        QVERIFY(!Workspace().openURL(QUrl(u"https://wayfar.example/"_s)));
    }
}

void TestWorkspace::itIsKnownBeforeWhatWouldStart_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("mode"); // of a file, of 0 when there is none
    QTest::addColumn<QString>("missingTool");
    QTest::addColumn<Workspace::Startable>("startable");
    using Startable = Workspace::Startable;
    const auto row = [](const char *rule, const QString &name, int mode, const QString &missingTool,
                        Startable startable) { QTest::newRow(rule) << name << mode << missingTool << startable; };
    row("program", u"launcher"_s, 0755, {}, Startable::Yes);
    row("bundle", u"Game.app/AppRun"_s, 0755, {}, Startable::Yes);
    row("desktop entry", u"game.desktop"_s, 0644, {}, Startable::Yes);
    row("Windows program", u"wow.exe"_s, 0644, {}, Startable::Yes);
    row("nothing", u"launcher"_s, 0, {}, Startable::Missing);
    row("no bundle", u"Game.app/AppRun"_s, 0, {}, Startable::Missing);
    row("bundle without a program", u"Game.app/readme"_s, 0644, {}, Startable::EmptyBundle);
    row("desktop entry without its tool", u"game.desktop"_s, 0644, u"gio"_s, Startable::WithoutGio);
    row("Windows program without wine", u"WOW.EXE"_s, 0644, u"wine"_s, Startable::WithoutWine);
    row("program that may not be executed", u"launcher"_s, 0644, {}, Startable::NoProgram);
    row("folder", u"folder/readme"_s, 0644, {}, Startable::NoProgram);
}

void TestWorkspace::itIsKnownBeforeWhatWouldStart()
{
    QFETCH(const QString, name);
    QFETCH(const int, mode);
    QFETCH(const QString, missingTool);
    if (mode != 0)
        makeFile(toPath(at(name)), recorder, mode_t(mode));
    if (!missingTool.isEmpty())
        QVERIFY(QFile::remove(at(u"bin/"_s + missingTool)));
    QTEST(Workspace::startable(at(name.section(u'/', 0, 0))), "startable");
    QVERIFY(!isCalled());
}

void TestWorkspace::whatWasStartedGetsNoneOfOurFiles_data()
{
    QTest::addColumn<QString>("opened");
    QTest::newRow("a game") << u"game"_s;
    QTest::newRow("the desktop's tool") << u"game.html"_s;
}

// The web engine opens its own without a word about programs.
void TestWorkspace::whatWasStartedGetsNoneOfOurFiles()
{
    QFETCH(const QString, opened);
    const QByteArray looker = "#!/bin/sh\n[ ! -e /proc/$$/fd/100 ] && echo none >\"$WAYFAR_RECORDS/call\"\n";
    makeTools(looker);
    makeFile(toPath(at(opened)), looker, opened.contains(u'.') ? 0644 : 0755);
    QCOMPARE(::dup2(STDERR_FILENO, 100), 100);
    QVERIFY(Workspace().openFile(at(opened)));
    QTRY_COMPARE(m_world->read(at(u"records/call"_s)), "none\n");
    ::close(100);
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
    makeFifo(toPath(at(u"records/fifo"_s)));
    QFETCH(const QString, name);
    Rerun::verifyPasses(
        {}, {{u"WAYFAR_TEST_FILE"_s, at(name)}, {u"PATH"_s, at(u"bin"_s) + u':' + QString::fromLocal8Bit(m_path)}});

    QVERIFY(!QFileInfo::exists(at(u"records/done"_s)));
    m_world->write(at(u"records/fifo"_s), "go\n"); // blocks until somebody reads
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
    QFETCH(const QString, address);
    QFETCH(const QString, handedOver);
    QVERIFY(Workspace().openURL(QUrl(address)));
    QCOMPARE(awaitCall().command, QStringList({at(u"bin/xdg-open"_s), handedOver}));
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
    QFETCH(const QString, address);
    QVERIFY(!Workspace().openURL(QUrl(address)));
    QVERIFY(!isCalled());
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
