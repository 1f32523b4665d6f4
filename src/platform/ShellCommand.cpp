#include "platform/ShellCommand.h"

#include <csignal>
#include <memory>
#include <vector>

#include <linux/close_range.h>
#include <unistd.h>

namespace
{
// A null-ended list of texts as exec(3) wants it, made before the fork: the child of a program with threads must not
// allocate.
class ExecList
{
public:
    explicit ExecList(const QList<QByteArray> &texts) : m_texts(texts)
    {
        for (QByteArray &text : m_texts)
            m_pointers.push_back(text.data());
        m_pointers.push_back(nullptr);
    }

    char *const *get() const { return m_pointers.data(); }

private:
    QList<QByteArray> m_texts;
    std::vector<char *> m_pointers;
};

QList<QByteArray> environmentOf(const QProcess &process)
{
    const QProcessEnvironment chosen = process.processEnvironment();
    QList<QByteArray> entries;
    for (const QString &entry : (chosen.isEmpty() ? QProcessEnvironment::systemEnvironment() : chosen).toStringList())
        entries.append(entry.toLocal8Bit());
    return entries;
}
} // namespace

void ShellCommand::keepFilesFromPrograms()
{
    ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC); // an older kernel refuses: it stays as it was
}

void ShellCommand::prepare(QProcess &process, const QList<QByteArray> &arguments)
{
    QStringList names;
    for (const QByteArray &argument : arguments)
        names.append(QString::fromLocal8Bit(argument));
    process.setProgram(names.takeFirst());
    process.setArguments(names);
    process.setStandardInputFile(QProcess::nullDevice());

    const auto argv = std::make_shared<const ExecList>(arguments);
    const auto environment = std::make_shared<const ExecList>(environmentOf(process));
    process.setChildProcessModifier([argv, environment] {
        ::setsid();
        keepFilesFromPrograms();
        ::signal(SIGPIPE, SIG_DFL); // QProcess ignores it, and Qt 6.8 ends that only after this function
        // Returns only when it failed: QProcess then tries itself, and reports the reason.
        ::execvpe(*argv->get(), argv->get(), environment->get());
    });
}

void ShellCommand::run(const QByteArray &line)
{
    QProcess shell;
    prepare(shell, {"/bin/sh", "-c", line});
    shell.setProcessChannelMode(QProcess::ForwardedChannels);
    shell.start();
    shell.waitForFinished(-1);
}
