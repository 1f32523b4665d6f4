#include "demo/VendorServer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
const QString folder = QStringLiteral(DEMO_FOLDER);
const QString applications = folder + u"/Applications"_s;
const QString oldBundle = applications + u"/WayfarRoutes_1.2.6.app"_s;
const QString newBundle = applications + u"/WayfarRoutes_1.3.0.app"_s;
const QString log = folder + u"/seen.txt"_s;

void say(const char *mark, const QString &text)
{
    std::printf("%s %s\n", mark, text.toLocal8Bit().constData());
    std::fflush(stdout);
}

void expect(bool condition, const QString &what)
{
    if (condition)
        return say("ok  ", what);
    say("FAIL", what);
    std::exit(EXIT_FAILURE);
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool isSeen(const QByteArray &line)
{
    const QDeadlineTimer limit(30s);
    while (!contentsOf(log).split('\n').contains(line)) {
        if (limit.hasExpired())
            return false;
        QThread::msleep(50);
    }
    return true;
}

// The applications folder with the old bundle alone, and a home without a past.
void layOut()
{
    for (const QString &old : {applications, folder + u"/home"_s})
        QDir(old).removeRecursively();
    QFile::remove(log);
    QDir().mkpath(applications);
    QProcess::execute(u"cp"_s, {u"-r"_s, QStringLiteral(DEMO_OLD_BUNDLE), oldBundle});
}

QProcessEnvironment environment(const QString &answer)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"WAYFAR_DEMO_ANSWER"_s, answer);
    environment.insert(u"WAYFAR_DEMO_LOG"_s, log);
    environment.insert(u"XDG_DATA_HOME"_s, folder + u"/home/data"_s);
    environment.insert(u"XDG_CONFIG_HOME"_s, folder + u"/home/config"_s);
    return environment;
}

// Starts the old bundle and waits for its end.
void runOldBundle(const QString &answer, const std::function<void()> &meanwhile)
{
    layOut();
    QProcess program;
    program.setProcessEnvironment(environment(answer));
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    program.start(oldBundle + u"/AppRun"_s, QStringList());
    meanwhile();
    expect(program.waitForFinished(60000), u"the old installer ends"_s);
    expect(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0, u"its exit status is 0"_s);
    expect(isSeen("1.2.6: question: An updated version 1.3.0 of Wayfar Installer is available. Would you like to "
                  "download?"),
           u"it asked whether to download 1.3.0"_s);
}

void playYes(VendorServer &vendor)
{
    say("    ", u"The answer is YES"_s);
    VendorAnswer inTwoPieces; // the second when the window has been seen
    inTwoPieces.body = contentsOf(QStringLiteral(DEMO_NEW_ARCHIVE));
    inTwoPieces.pieces = {inTwoPieces.body.size() * 7 / 10};
    inTwoPieces.stepped = true;
    vendor.queueAnswer("/WayfarRoutes_1.3.0.zip", inTwoPieces);
    runOldBundle(u"YES"_s, [&vendor] {
        expect(isSeen("1.2.6: progress window"), u"the progress window is on the screen"_s);
        vendor.step();
    });
    expect(!contentsOf(log).contains("1.2.6: main window"), u"the old main window was not"_s);
    expect(QFile::exists(newBundle + u"/AppRun"_s) && QFile::exists(oldBundle + u"/AppRun"_s),
           u"the new installer stands beside the old one"_s);
    expect(isSeen("1.3.0: main window"), u"the new installer runs, with its main window up"_s);
}

void playNo()
{
    say("    ", u"The answer is NO"_s);
    runOldBundle(u"NO"_s, [] {});
    expect(isSeen("1.2.6: main window"), u"the old main window came up"_s);
    expect(!QFile::exists(newBundle), u"nothing was put beside it"_s);
}
} // namespace

// The whole road of an upgrade on two bundles, each running as a process of its own. Ends with 1 at the first thing
// that is not as it should be.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QDir().mkpath(folder);
    VendorServer vendor({.port = QByteArray(DEMO_PORT).toUShort()});
    QFile::remove(QStringLiteral(DEMO_CA));
    expect(QFile::copy(vendor.caFile(), QStringLiteral(DEMO_CA)), u"the vendor is open"_s);
    vendor.setInstallerVersion("1.3.0");
    playYes(vendor);
    playNo();
    return EXIT_SUCCESS;
}
