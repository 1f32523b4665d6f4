#pragma once

#include "platform/Alert.h"
#include "platform/ScriptRunner.h"
#include "platform/Workspace.h"

#include <QList>

#include <functional>

// What a machine can't do alone: somebody who answers alerts, a browser, a game, and an administrator.

class RecordingAlert : public Alert
{
public:
    int runModal(const AlertContent &content) override;

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

    std::optional<ScriptError> refusal; // instead of running the command
    QList<QByteArray> scripts; // each prompt's, in order
    QStringList closedFolders; // of mode 0555; open while the command runs, if the test's process can't pass them

private:
    void changeClosedFolders(uint mode) const;
};

inline const ScriptError userCanceled = {-128, QStringLiteral("User canceled.")};
