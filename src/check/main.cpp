#include "check/VendorCheck.h"
#include "platform/Terminal.h"

#include "BuildSettings.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QUrl>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{
constexpr int misused = 2;

struct Task {
    VendorSite site;
    UrlLoaderSettings network;
};

// With or without a port; and no address.
bool isHost(const QString &text)
{
    const QUrl url(u"https://"_s + text);
    return !text.isEmpty() && url.authority() == text;
}

Task readArguments(const QCoreApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Asks a vendor's hosts for everything that the installer asks for, as it asks, and says what players would "
        "see and what is wrong. Ends with status 0 only when all is right.\n\nThe user name and the password of an "
        "account "
        "are read from standard input, a line each. Without them the forms go out empty."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({u"ca"_s, u"Trust the authorities in this PEM file instead of the system's."_s, u"file"_s});
    parser.addPositionalArgument(u"host"_s, u"The web site, without \"www.\"; HOST:PORT to try another port."_s);
    parser.addPositionalArgument(u"download-host"_s, u"Where new installers are."_s);
    parser.process(application);
    const QStringList hosts = parser.positionalArguments();
    if (hosts.size() != 2 || !std::ranges::all_of(hosts, isHost) || hosts[0].startsWith(u"www."))
        parser.showHelp(misused);
    return {{hosts[0], hosts[1]}, {.caFile = parser.value(u"ca"_s)}};
}

FormPairs readAccount()
{
    const QString user = Terminal::ask(u"User name (empty: without an account): "_s);
    if (user.isEmpty())
        return {};
    return {{u"user"_s, user}, {u"pass"_s, Terminal::ask(u"Password: "_s, Terminal::Echo::Hidden)}};
}

// What a host answers must not work the terminal.
QByteArray printable(QString text)
{
    for (QChar &character : text) {
        if (character.category() == QChar::Other_Control)
            character = u'?';
    }
    return text.toLocal8Bit();
}

void print(const char *mark, const QStringList &lines)
{
    for (const QString &line : lines)
        std::printf("  %-6s %s\n", mark, printable(line).constData());
}

void report(const QString &asked, const Verdict &verdict)
{
    std::printf("%s\n", printable(asked).constData());
    print("ok", verdict.right);
    print("note", verdict.notes);
    print("WRONG", verdict.wrong);
    std::fflush(stdout);
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"wayfar-check-vendor"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(WAYFAR_VERSION));
    qputenv("UNZIP", "-qq"); // its default options: the listing would stand between our lines
    const Task task = readArguments(application);
    VendorCheck check(task.site, task.network, readAccount(), report);
    const bool isRight = check.run();
    std::puts(isRight ? "All is right." : "Not all is right.");
    return isRight ? EXIT_SUCCESS : EXIT_FAILURE;
}
