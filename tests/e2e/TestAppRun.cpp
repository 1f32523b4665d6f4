#include "support/Files.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{
// What the dialog's tools showed, one after the other: the name of each and its words.
const QByteArray fakeTool = "#!/bin/sh\necho \"${0##*/} $*\" >>\"$TOLD\"\nexit ";

void put(const FilePath &source, const FilePath &destination)
{
    std::filesystem::create_directories(destination.parent_path());
    std::filesystem::copy_file(source, destination, std::filesystem::copy_options::overwrite_existing);
}

// A bundle that carries its libraries, and a system whose programs are in one folder.
struct Player {
    Player()
    {
        makeFolder(programs);
        for (const QString &program :
             {u"sh"_s, u"readlink"_s, u"sed"_s, u"tr"_s, u"sort"_s, u"cat"_s, u"mkdir"_s, u"fold"_s})
            makeLink(toPath(QStandardPaths::findExecutable(program)), programs / toPath(program));
        for (const char *helper : {"unzip", "pkexec", "xdg-open", "gio"})
            makeFile(programs / helper, {}, 0755);
        putTool("zenity", 0);
        put(PROGRAM, bundle / "usr/bin/wayfar-installer");
        put(OTHER, other);
        put(QT, qt);
        put(PACKAGING "/AppRun", bundle / "AppRun");
        put(PACKAGING "/packages", bundle / "usr/share/wayfar-installer/packages");
        for (const char *part :
             {"plugins/platforms/libqxcb.so", "bin/QtWebEngineProcess", "resources/qtwebengine_resources.pak"})
            makeFile(bundle / "usr" / part);
        environment.insert(u"PATH"_s, toText(programs));
        environment.insert(u"HOME"_s, folder.filePath(u"home"_s));
        environment.insert(u"DISPLAY"_s, u":99"_s);
        environment.insert(u"TOLD"_s, folder.filePath(u"told"_s));
    }

    void putTool(const FilePath &name, int end)
    {
        makeFile(programs / name, fakeTool + QByteArray::number(end) + '\n', 0755);
    }

    void start()
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(toText(bundle / "AppRun"), {u"a b"_s});
        QVERIFY(process.waitForFinished());
        output = process.readAllStandardOutput();
        errors = process.readAllStandardError();
        status = process.exitCode();
    }

    QByteArray told() const { return FileManager::contentsOfFile(toPath(folder.filePath(u"told"_s))).value_or(""); }
    bool started() const { return output.startsWith("argument a b\n") && status == 7; }

    const QTemporaryDir folder;
    const FilePath bundle = toPath(folder.filePath(u"my <b>&amp; games not found/WayfarRoutes_1.2.6.app"_s));
    const FilePath other = bundle / "usr/lib/libWayfarOther.so.1";
    const FilePath qt = bundle / "usr/lib/libQt6Gui.so.6";
    const FilePath programs = toPath(folder.filePath(u"bin"_s));
    QProcessEnvironment environment;
    QByteArray output;
    QByteArray errors;
    int status = -1;
};
} // namespace

class TestAppRun : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_player = std::make_unique<Player>(); }
    void cleanup() { m_player.reset(); }

    void withEverythingThereItBecomesTheInstallerWithoutAWord();
    void whatTheLoaderMissesIsToldAtEveryStart_data();
    void whatTheLoaderMissesIsToldAtEveryStart();
    void aMissingPartOfQtIsToldAndTheInstallerStarts_data();
    void aMissingPartOfQtIsToldAndTheInstallerStarts();
    void whereQtsPlacesAreNamedNoneIsLookedFor();
    void aMissingHelperIsToldOnce();
    void withoutAScreenNoToolIsAsked();
    void theFirstToolThatCanShowsIt_data();
    void theFirstToolThatCanShowsIt();

private:
    std::unique_ptr<Player> m_player;
};

void TestAppRun::withEverythingThereItBecomesTheInstallerWithoutAWord()
{
    m_player->start();
    QVERIFY(m_player->started());
    QCOMPARE(m_player->told() + m_player->errors, "");
    QVERIFY(!QFile::exists(m_player->folder.filePath(u"home"_s)));
    // What it would add would reach the game.
    QStringList variables = QString::fromLocal8Bit(m_player->output).split(u'\n', Qt::SkipEmptyParts).mid(1);
    variables.removeIf([](const QString &variable) { return variable.startsWith(u"PWD="_s); }); // of the shell's own
    QStringList given = m_player->environment.toStringList();
    variables.sort();
    given.sort();
    QCOMPARE(variables, given);
}

void TestAppRun::whatTheLoaderMissesIsToldAtEveryStart_data()
{
    QTest::addColumn<bool>("withOther");
    QTest::addColumn<bool>("withNewQt");
    QTest::addColumn<QByteArray>("words");
    QTest::addColumn<QByteArray>("advice"); // tests run on Debian
    QTest::newRow("a library") << false << true << QByteArray("lacks\n\nlibWayfarOther.so.1\n\n")
                               << QByteArray("sudo apt install");
    QTest::newRow("a newer one") << true << false << QByteArray("lacks\n\nlibQt6Gui.so.6 of the version NEW\n\n")
                                 << QByteArray("a newer release of your system");
}

void TestAppRun::whatTheLoaderMissesIsToldAtEveryStart()
{
    QFETCH(const bool, withOther);
    QFETCH(const bool, withNewQt);
    QFETCH(const QByteArray, words);
    QFETCH(const QByteArray, advice);
    if (!withOther)
        std::filesystem::remove(m_player->other);
    if (!withNewQt)
        put(OLD_QT, m_player->qt);
    for (const int times : {1, 2}) {
        m_player->start();
        QCOMPARE(m_player->status, 127);
        QCOMPARE(m_player->output, "");
        QCOMPARE(m_player->told().count("The Wayfar Installer can't start"), times);
    }
    QVERIFY2(m_player->told().contains(words), m_player->told().constData());
    QVERIFY2(m_player->told().contains(advice), m_player->told().constData());
    QCOMPARE(m_player->told().count(" install "), advice.count(" install") * 2); // no other system's
    QVERIFY(m_player->errors.contains(words));
    QVERIFY(m_player->told().startsWith("zenity --warning --no-markup "));
    QVERIFY2(!m_player->told().contains('<') && !m_player->told().contains('&'), m_player->told().constData());
}

void TestAppRun::aMissingPartOfQtIsToldAndTheInstallerStarts_data()
{
    QTest::addColumn<QByteArray>("part");
    for (const char *part :
         {"plugins/platforms/libqxcb.so", "bin/QtWebEngineProcess", "resources/qtwebengine_resources.pak"})
        QTest::newRow(part) << QByteArray(part);
}

void TestAppRun::aMissingPartOfQtIsToldAndTheInstallerStarts()
{
    QFETCH(const QByteArray, part);
    std::filesystem::remove(m_player->bundle / "usr" / part.constData());
    m_player->start();
    QVERIFY(m_player->started());
    QVERIFY(m_player->told().contains("may not start, since your system lacks\n\n" + part.split('/').last() + ", "));
}

void TestAppRun::whereQtsPlacesAreNamedNoneIsLookedFor()
{
    std::filesystem::remove(m_player->bundle / "usr/plugins/platforms/libqxcb.so");
    m_player->environment.insert(u"QT_PLUGIN_PATH"_s, u"/opt/qt/plugins"_s);
    m_player->start();
    QVERIFY(m_player->started());
    QCOMPARE(m_player->told() + m_player->errors, "");
}

void TestAppRun::aMissingHelperIsToldOnce()
{
    std::filesystem::remove(m_player->programs / "unzip");
    std::filesystem::remove(m_player->programs / "gio");
    for (int times = 0; times < 2; ++times) {
        m_player->start();
        QVERIFY(m_player->started());
    }
    QCOMPARE(m_player->told().count("zenity"), 1);
    QVERIFY(m_player->told().contains("lacks\n\nunzip, which unpacks each update\ngio, which "));
    // Something else is missing: that is another matter.
    std::filesystem::remove(m_player->programs / "pkexec");
    m_player->start();
    QCOMPARE(m_player->told().count("zenity"), 2);
}

void TestAppRun::withoutAScreenNoToolIsAsked()
{
    std::filesystem::remove(m_player->other);
    m_player->environment.remove(u"DISPLAY"_s);
    m_player->start();
    QCOMPARE(m_player->told(), "");
    QVERIFY(m_player->errors.contains("libWayfarOther.so.1"));
}

void TestAppRun::theFirstToolThatCanShowsIt_data()
{
    using Tools = QList<std::pair<QByteArray, int>>; // with what each ends with
    QTest::addColumn<Tools>("tools");
    QTest::addColumn<QByteArrayList>("asked");
    QTest::newRow("closed by hand") << Tools{{"zenity", 1}, {"kdialog", 0}} << QByteArrayList{"zenity"};
    QTest::newRow("broken") << Tools{{"zenity", 127}, {"kdialog", 0}} << QByteArrayList{"zenity", "kdialog"};
    QTest::newRow("another desktop's") << Tools{{"kdialog", 0}, {"xmessage", 0}} << QByteArrayList{"kdialog"};
    QTest::newRow("that of every X") << Tools{{"xmessage", 0}, {"notify-send", 0}} << QByteArrayList{"xmessage"};
    QTest::newRow("a notification") << Tools{{"notify-send", 0}} << QByteArrayList{"notify-send"};
    QTest::newRow("none") << Tools() << QByteArrayList();
}

void TestAppRun::theFirstToolThatCanShowsIt()
{
    using Tools = QList<std::pair<QByteArray, int>>;
    QFETCH(const Tools, tools);
    QFETCH(const QByteArrayList, asked);
    std::filesystem::remove(m_player->programs / "zenity");
    for (const auto &[name, end] : tools)
        m_player->putTool(name.constData(), end);
    std::filesystem::remove(m_player->other);
    m_player->start();
    QByteArrayList seen;
    for (const QByteArray &line : m_player->told().split('\n')) {
        const QByteArray first = line.split(' ').first();
        if (QByteArrayList{"zenity", "kdialog", "xmessage", "notify-send"}.contains(first))
            seen.append(first);
    }
    QCOMPARE(seen, asked);
    QVERIFY(m_player->errors.contains("libWayfarOther.so.1")); // in every case
}

QTEST_GUILESS_MAIN(TestAppRun)
#include "TestAppRun.moc"
