#include "support/StandIns.h"

#include <QFile>
#include <QProcess>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
void setMode(const QString &folder, mode_t mode)
{
    ::chmod(QFile::encodeName(folder).constData(), mode);
}
} // namespace

int RecordingAlert::runModal(const AlertContent &content)
{
    shown.append(content);
    if (whileShown)
        whileShown();
    return answer;
}

QStringList RecordingAlert::told() const
{
    QStringList texts;
    for (const AlertContent &content : shown) {
        QString text = (content.heading.isEmpty() ? u"(no heading) "_s : QString()) + content.messageText;
        if (!content.informativeText.isEmpty())
            text += u'\n' + content.informativeText;
        if (content.defaultButton != u"OK" || !content.alternateButton.isEmpty())
            text += u"\n["_s + content.defaultButton + u"] ["_s + content.alternateButton + u']';
        texts.append(text);
    }
    return texts;
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

void Administrator::close(const QString &folder, mode_t mode)
{
    setMode(folder, mode);
    closedFolders.append(folder);
}

void Administrator::changeClosedFolders(mode_t mode) const
{
    if (::geteuid() == 0)
        return;
    for (const QString &folder : closedFolders)
        setMode(folder, mode);
}

void giveToPlayer(const QString &folder)
{
    if (::geteuid() == 0)
        QProcess::execute(u"chown"_s, {u"-R"_s, u"65534"_s, folder});
}

void openToAll(const QString &folder)
{
    setMode(folder, 0777);
}
