#include "support/StandIns.h"

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
    return refusal ? refusal : ScriptRunner::execute(source);
}
