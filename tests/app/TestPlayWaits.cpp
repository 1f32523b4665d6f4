#include "support/Program.h"

#include "places/Preferences.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTimer>

using namespace Qt::StringLiterals;

// Some launchers keep the desktop's tool that starts them for as long as they run.
class TestPlayWaits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theWindowGoesOnWithTheWaitCursor();

private:
    // Looks at the program while the launcher is being opened.
    struct SlowWorkspace : RecordingWorkspace {
        bool openFile(const QString &path) override
        {
            if (whileOpening)
                whileOpening();
            return Workspace::openFile(path);
        }
        std::function<void()> whileOpening;
    };
};

void TestPlayWaits::theWindowGoesOnWithTheWaitCursor()
{
    TestWorld world;
    world.goOffline();
    StandIns standIns;
    SlowWorkspace workspace;
    Surroundings surroundings = standIns.surroundings(world, world.defaults());
    AppDelegate delegate({.site = surroundings.site,
                          .defaults = surroundings.defaults,
                          .loader = surroundings.loader,
                          .workspace = workspace,
                          .alert = surroundings.alert,
                          .scriptRunner = surroundings.scriptRunner,
                          .terminate = surroundings.terminate,
                          .exit = surroundings.exit,
                          .bundlePath = {}});
    // A document, which goes to the desktop's tool; the tool stays.
    const QString launcher = world.path(u"launcher.txt"_s);
    world.write(launcher, "a document");
    world.write(world.path(u"bin/xdg-open"_s), "#!/bin/sh\nexec sleep 5\n");
    QFile::setPermissions(world.path(u"bin/xdg-open"_s), QFile::ReadOwner | QFile::ExeOwner);
    qputenv("PATH", (world.path(u"bin"_s) + u':' + qEnvironmentVariable("PATH")).toLocal8Bit());
    world.defaults().setObject(Preferences::launchPath.key, launcher);

    bool waits = false;
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] { ++ticks; });
    workspace.whileOpening = [&] {
        waits = QApplication::overrideCursor() && QApplication::overrideCursor()->shape() == Qt::WaitCursor;
        timer.start(10);
        delegate.update(u"Play"_s); // an automatic launch comes in between
    };
    delegate.update(u"Play"_s);
    QVERIFY(waits);
    QVERIFY(ticks > 10);
    QCOMPARE(standIns.terminations, 1);
}

QTEST_MAIN(TestPlayWaits)
#include "TestPlayWaits.moc"
