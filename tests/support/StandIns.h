#pragma once

#include "platform/Alert.h"
#include "platform/ScriptRunner.h"
#include "platform/Workspace.h"

#include <QList>

#include <functional>

#include <sys/types.h>

// What a machine can't do alone: somebody who answers alerts, a browser, a game, and an administrator.

class RecordingAlert : public Alert
{
public:
    int runModal(const AlertContent &content) override;

    // What each alert told, as one text: its message; below it the informative text; and its buttons, unless there is
    // only an OK.
    QStringList told() const;

    QList<AlertContent> shown;
    int answer = DefaultReturn;
    std::function<void()> whileShown; // what the program's state is at that moment
};

class RecordingWorkspace : public Workspace
{
public:
    bool openFile(const QString &path) override;
    bool openURL(const QUrl &url) override;
    bool launchApplication(const QString &path) override;

    bool opens = true;
    QStringList files;
    QList<QUrl> urls;
    QStringList applications;
};

// An administrator at the prompt: says yes, and the command then really runs with the rights of the test's process; or
// answers with the error that a refusal gives.
class Administrator : public ScriptRunner
{
public:
    Administrator();
    std::optional<ScriptError> execute(const QByteArray &source) override;

    // From now on the folder refuses everybody but the administrator.
    void close(const QString &folder, mode_t mode = 0555);

    std::optional<ScriptError> refusal; // instead of running the command
    QList<QByteArray> scripts; // each prompt's, in order
    QStringList closedFolders; // open while the command runs, if the test's process can't pass them

private:
    void changeClosedFolders(mode_t mode) const;
};

inline const ScriptError userCanceled = {-128, QStringLiteral("User canceled.")};

// The folder and all below it then belong to the user that OrdinaryUser is.
void giveToPlayer(const QString &folder);
// Everybody may change what is in the folder.
void openToAll(const QString &folder);
