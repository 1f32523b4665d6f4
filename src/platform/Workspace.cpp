#include "platform/Workspace.h"

#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/ShellCommand.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTimer>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
bool start(const QString &program, const QStringList &arguments, const QString &folder)
{
    ShellCommand::keepFilesFromPrograms();
    return QProcess::startDetached(program, arguments, folder);
}

// On a file system without modes every file counts as executable: its first bytes decide.
bool isProgram(const QFileInfo &file)
{
    QFile bytes(file.filePath());
    if (!file.isFile() || !file.isExecutable() || !bytes.open(QIODevice::ReadOnly))
        return false;
    const QByteArray head = bytes.read(4);
    return head
        == "\x7f"
           "ELF"
        || head.startsWith("#!");
}

// Without a slash at the end, which would hide a folder's name.
QFileInfo fileAt(const QString &path)
{
    return QFileInfo(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
}

bool isWindowsProgram(const QFileInfo &file)
{
    return file.suffix().compare(u"exe"_s, Qt::CaseInsensitive) == 0;
}

QString wine()
{
    return QStandardPaths::findExecutable(u"wine"_s);
}

// What opens a thing.
enum class Opener { Nothing, Bundle, DesktopEntry, Wine, Itself, Desktop };

Opener openerOf(const QFileInfo &file)
{
    if (!file.exists())
        return Opener::Nothing;
    if (Bundle::isBundle(toPath(file.filePath())))
        return Opener::Bundle;
    if (file.suffix() == u"desktop"_s)
        return Opener::DesktopEntry;
    if (isWindowsProgram(file) && !wine().isEmpty())
        return Opener::Wine;
    return isProgram(file) ? Opener::Itself : Opener::Desktop;
}

bool startBundle(const QFileInfo &bundle)
{
    const FilePath program = Bundle::programOf(toPath(bundle.filePath()));
    return !program.empty() && start(toText(program), {}, bundle.filePath());
}

// Windows go on being painted meanwhile; input waits.
bool endsSoon(QProcess &process)
{
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(3s, &loop, &QEventLoop::quit);
    if (process.state() != QProcess::NotRunning)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    return process.state() == QProcess::NotRunning;
}

// Hands a file to the desktop's tool. Either the tool ends at once, and its status says whether it started something;
// or it stays as long as what it started. Then the process object is never deleted, which would end both.
bool openByDesktop(const QList<QByteArray> &command)
{
    auto *process = new QProcess;
    ShellCommand::prepare(*process, command);
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    process->start();
    if (process->waitForStarted() && !endsSoon(*process))
        return true;
    const bool opened = process->error() != QProcess::FailedToStart && process->exitCode() == 0;
    delete process;
    return opened;
}
} // namespace

bool Workspace::openFile(const QString &path)
{
    const QFileInfo file = fileAt(path);
    switch (openerOf(file)) {
    case Opener::Nothing:
        return false;
    case Opener::Bundle:
        return startBundle(file);
    case Opener::DesktopEntry:
        return openByDesktop({"gio", "launch", file.filePath().toLocal8Bit()});
    case Opener::Wine:
        return start(wine(), {file.filePath()}, file.path());
    case Opener::Itself:
        return start(file.filePath(), {}, file.path());
    case Opener::Desktop:
        break;
    }
    return openByDesktop({"xdg-open", file.filePath().toLocal8Bit()});
}

Workspace::Startable Workspace::startable(const QString &path)
{
    const QFileInfo file = fileAt(path);
    switch (openerOf(file)) {
    case Opener::Nothing:
        return Startable::Missing;
    case Opener::Bundle:
        return Bundle::programOf(toPath(file.filePath())).empty() ? Startable::EmptyBundle : Startable::Yes;
    case Opener::DesktopEntry:
        return QStandardPaths::findExecutable(u"gio"_s).isEmpty() ? Startable::WithoutGio : Startable::Yes;
    case Opener::Wine:
    case Opener::Itself:
        return Startable::Yes;
    case Opener::Desktop:
        break;
    }
    return isWindowsProgram(file) ? Startable::WithoutWine : Startable::NoProgram;
}

bool Workspace::openURL(const QUrl &url)
{
    const bool web = url.scheme() == u"https"_s || url.scheme() == u"http"_s;
    return web && start(u"xdg-open"_s, {url.toString(QUrl::FullyEncoded)}, {});
}

bool Workspace::launchApplication(const QString &path)
{
    const QFileInfo bundle = fileAt(path);
    return bundle.isDir() && startBundle(bundle);
}
