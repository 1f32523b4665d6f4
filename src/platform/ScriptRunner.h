#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

struct ScriptError {
    int number = 0; // the command's exit status; negative when it never came to run
    std::optional<QString> briefMessage;
};

// Runs a one-line script whose one form is: do shell script "COMMAND" with administrator privileges
class ScriptRunner
{
public:
    // What asks for the administrator and starts the shell; by default pkexec, and nothing for root.
    ScriptRunner();
    explicit ScriptRunner(const QList<QByteArray> &launcher);
    virtual ~ScriptRunner() = default;

    static QByteArray scriptOf(QByteArrayView command);

    // Blocks while the prompt is open and the command runs. Nothing when the command ended with 0. Main thread: polkit
    // judges the process that is pkexec's parent, and pkexec ends with the thread that started it.
    virtual std::optional<ScriptError> execute(const QByteArray &source);

private:
    const QList<QByteArray> m_launcher;
};
