#include "support/Answers.h"
#include "support/TestWorld.h"

#include "app/Application.h"
#include "windows/MainWindow.h"
#include "windows/SplashScreen.h"
#include "places/Preferences.h"

#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{
constexpr auto FlagsVariable = "QTWEBENGINE_CHROMIUM_FLAGS";
const QString closingEachWindow = u"--close-each-window"_s;
const QString waitingForASecondStart = u"--wait-for-a-second-start"_s;
const QString endingDuringTheStart = u"--end-during-the-start"_s;
const QString endingDuringTheQuestion = u"--end-during-the-question"_s;

template<typename Window> Window *visibleWindow()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        auto *found = qobject_cast<Window *>(window);
        if (found && found->isVisible())
            return found;
    }
    return nullptr;
}

// Looks again and again, in the event loop of the program, until the condition holds; then acts once.
void whenever(QObject &context, const std::function<bool()> &condition, const std::function<void()> &action)
{
    auto *timer = new QTimer(&context);
    timer->callOnTimeout(&context, [=] {
        if (condition()) {
            timer->stop();
            action();
        }
    });
    timer->start(5);
}

// The main window is made in the same breath, just before the worker.
bool isWorkerStarted()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(),
                       [](QWidget *window) { return qobject_cast<MainWindow *>(window); });
}

// The whole program, in a process of its own; it tells on standard output what happened.
int runProgram(const QStringList &arguments)
{
    Application application(u"1.2.6"_s, {u"wayfar.example"_s, u"download.wayfar.example"_s},
                            {.caFile = arguments.value(2), .connectTo = {arguments.value(3).toLatin1()}});
    QObject context;
    QObject *const surroundings = &context;
    const auto say = [](const QByteArray &line) {
        std::puts(line.constData());
        std::fflush(stdout);
    };
    const bool waits = arguments.value(1) == waitingForASecondStart;
    const bool endsEarly = arguments.value(1) == endingDuringTheStart;
    whenever(
        context, [] { return visibleWindow<SplashScreen>() && isWorkerStarted(); },
        [=] {
            if (endsEarly)
                QCoreApplication::quit();
            else
                visibleWindow<SplashScreen>()->close();
            say("splash");
        });
    if (arguments.value(1) == endingDuringTheQuestion)
        whenever(
            context, [] { return visibleWindow<QMessageBox>(); }, [] { QCoreApplication::quit(); });
    whenever(
        context, [] { return visibleWindow<MainWindow>(); },
        [=] {
            say("main window: " + visibleWindow<MainWindow>()->windowTitle().toUtf8());
            say("flags: " + qgetenv(FlagsVariable));
            if (!waits) {
                visibleWindow<MainWindow>()->close();
                return;
            }
            visibleWindow<MainWindow>()->showMinimized();
            say("minimized");
            whenever(
                *surroundings, [] { return !visibleWindow<MainWindow>()->isMinimized(); },
                [=] {
                    say("in front again");
                    visibleWindow<MainWindow>()->close();
                });
        });
    return application.exec();
}
} // namespace

class TestApplication : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theProgramHasItsNames();
    void theMainWindowsEndAndNoOtherEndsTheProgram();
    void theDesktopsFlagForTheWebEngineIsKept();
    void anEndDuringTheStartDoesNotWaitForTheVendor();
    void anEndDuringTheUpgradeQuestionIsNoAnswer();
    void aSecondStartEndsWellAndBringsTheFirstToTheFront();

private:
    void start(const QString &mode);
    void verifyWellEnded();
    QByteArray output() { return m_output += m_program->readAllStandardOutput(); }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<QProcess> m_program;
    QByteArray m_output;
};

void TestApplication::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->defaults().setObject(Preferences::userName.key, u"rowan"_s);
    m_program = std::make_unique<QProcess>();
}

void TestApplication::cleanup()
{
    m_program.reset();
    m_output.clear();
    m_world.reset();
}

void TestApplication::start(const QString &mode)
{
    m_program->start(QCoreApplication::applicationFilePath(),
                     {mode, m_world->network().caFile, u"::127.0.0.1:%1"_s.arg(m_world->vendor().port())});
    QVERIFY(m_program->waitForStarted());
}

void TestApplication::verifyWellEnded()
{
    QVERIFY(m_program->waitForFinished(20000));
    QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_program->exitCode(), 0);
}

void TestApplication::theProgramHasItsNames()
{
    const Application application(u"1.2.6"_s, m_world->site(), m_world->network());
    QCOMPARE(QCoreApplication::applicationName(), u"wayfar-installer"_s);
    QCOMPARE(QGuiApplication::applicationDisplayName(), u"Wayfar Installer"_s);
    QCOMPARE(QGuiApplication::desktopFileName(), QStringLiteral(WAYFAR_APPLICATION_ID));
    QVERIFY(!QCoreApplication::applicationVersion().isEmpty());
    QVERIFY(!QGuiApplication::windowIcon().isNull());
    QVERIFY(!QGuiApplication::quitOnLastWindowClosed());
}

void TestApplication::theMainWindowsEndAndNoOtherEndsTheProgram()
{
    m_world->vendor().queueAnswer("/api/dlCheckUser", silence());
    start(closingEachWindow);
    QVERIFY(m_world->vendor().waitForRequests("/api/dlCheckUser", 1));
    QTRY_VERIFY_WITH_TIMEOUT(output().contains("splash"), 20000);
    m_world->vendor().step(); // when the splash, the only window, is closed
    verifyWellEnded();
    QVERIFY(output().contains("main window: Wayfar Installer\n"));
}

void TestApplication::theDesktopsFlagForTheWebEngineIsKept()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(FlagsVariable), u"--disable-smooth-scrolling"_s);
    m_program->setProcessEnvironment(environment);
    start(closingEachWindow);
    verifyWellEnded();
    QVERIFY(output().contains("flags: --disable-smooth-scrolling\n"));
}

void TestApplication::anEndDuringTheStartDoesNotWaitForTheVendor()
{
    for (const char *path : {"/api/dlCheckUser", "/api/wayfarVersion"})
        m_world->vendor().setAnswer(path, silence());
    start(endingDuringTheStart);
    verifyWellEnded(); // the loader would wait for a minute
    QVERIFY(!output().contains("main window"));
}

void TestApplication::anEndDuringTheUpgradeQuestionIsNoAnswer()
{
    m_world->vendor().setInstallerVersion("1.3.0");
    start(endingDuringTheQuestion);
    verifyWellEnded();
    QVERIFY(!output().contains("main window"));
    QCOMPARE(m_world->vendor().requests().size(), 1); // the version check: a NO would go on with the login
}

void TestApplication::aSecondStartEndsWellAndBringsTheFirstToTheFront()
{
    const QString runtime = m_world->path(u"run"_s);
    QVERIFY(QDir().mkdir(runtime));
    QVERIFY(QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_RUNTIME_DIR"_s, runtime);
    m_program->setProcessEnvironment(environment);
    start(waitingForASecondStart);
    QTRY_VERIFY_WITH_TIMEOUT(output().contains("minimized"), 20000);

    QProcess second;
    second.setProcessEnvironment(environment);
    second.start(m_program->program(), m_program->arguments());
    QVERIFY(second.waitForFinished(20000));
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), 0);
    QCOMPARE(second.readAllStandardOutput(), QByteArray()); // no window of its own
    verifyWellEnded();
    QVERIFY(output().contains("in front again\n"));
}

int main(int argc, char **argv)
{
    QApplication qt(argc, argv);
    const QString mode = qt.arguments().value(1);
    if (mode == closingEachWindow || mode == endingDuringTheStart || mode == endingDuringTheQuestion
        || mode == waitingForASecondStart)
        return runProgram(qt.arguments());
    TestApplication test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestApplication.moc"
