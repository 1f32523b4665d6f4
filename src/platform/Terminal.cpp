#include "platform/Terminal.h"

#include <cstdio>
#include <iostream>
#include <optional>
#include <string>

#include <termios.h>
#include <unistd.h>

namespace
{
// While it lives, what is typed is not shown.
class HiddenInput
{
public:
    HiddenInput()
    {
        ::tcgetattr(STDIN_FILENO, &m_before);
        termios hidden = m_before;
        hidden.c_lflag &= ~tcflag_t(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    ~HiddenInput()
    {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
        std::fputs("\n", stderr);
    }
    Q_DISABLE_COPY_MOVE(HiddenInput)

private:
    termios m_before = {};
};

QString nextLine()
{
    std::string line;
    std::getline(std::cin, line);
    return QString::fromStdString(line);
}
} // namespace

QString Terminal::ask(const QString &question, Echo echo)
{
    if (!::isatty(STDIN_FILENO))
        return nextLine();
    std::optional<HiddenInput> hidden; // before the question: somebody may type at once
    if (echo == Echo::Hidden)
        hidden.emplace();
    std::fprintf(stderr, "%s", question.toLocal8Bit().constData());
    return nextLine();
}
