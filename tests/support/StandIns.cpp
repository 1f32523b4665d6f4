#include "support/StandIns.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

int RecordingAlert::runModal(const AlertContent &content)
{
    shown.append(content);
    if (whileShown)
        whileShown();
    return answer;
}

bool RecordingWorkspace::openFile(const QString &path)
{
    files.append(path);
    return opens;
}

bool RecordingWorkspace::openURL(const QUrl &url)
{
    urls.append(url);
    return opens;
}

bool RecordingWorkspace::launchApplication(const QString &path)
{
    applications.append(path);
    return opens;
}

Administrator::Administrator() : ScriptRunner(QList<QByteArray>()) { }

std::optional<ScriptError> Administrator::execute(const QByteArray &source)
{
    scripts.append(source);
    if (refusal)
        return refusal;
    changeClosedFolders(0755);
    const auto error = ScriptRunner::execute(source);
    changeClosedFolders(0555);
    return error;
}

void Administrator::changeClosedFolders(uint mode) const
{
    if (::geteuid() == 0)
        return;
    for (const QString &folder : closedFolders)
        ::chmod(QFile::encodeName(folder).constData(), mode);
}
