#include "check/TextVerdicts.h"

#include "account/UserLogin.h"
#include "pack/WayfarVersion.h"
#include "platform/Text.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{
// In HTML, or in JSON.
bool isPage(const QByteArray &body)
{
    const QByteArray text = body.trimmed();
    return text.startsWith('<') || text.startsWith('{');
}

bool hasWhiteSpace(const QString &text)
{
    return text.contains(QRegularExpression(u"\\s"_s));
}

// Why the text cannot be an installer's version; empty where it can.
QString faultOfInstallerVersion(const QByteArray &body)
{
    static const QRegularExpression plain(u"^[A-Za-z0-9._+-]+$"_s);
    const auto version = Text::fromAscii(body);
    if (!version || version->isEmpty())
        return u"The answer is empty or no ASCII text, which counts as no connection: every start ends with an alert."_s;
    if (isPage(body))
        return u"This is a page and no version: every player is asked at every start to upgrade to it."_s;
    if (hasWhiteSpace(version->back()))
        return u"A line end or blank follows the version: every player is asked to upgrade at every start, for ever. "
               "Answer with the bare version."_s;
    if (hasWhiteSpace(version->front()))
        return u"A line end or blank comes before the version: no player is ever asked to upgrade."_s;
    if (!version->front().isDigit())
        return u"The version does not begin with a digit: every player is asked to upgrade at every start, for ever."_s;
    if (!plain.match(*version).hasMatch())
        return u"The version has characters that an address or a folder's name does not take: the upgrade fails."_s;
    return {};
}

QString faultOfPackVersion(const QByteArray &body)
{
    const QString forEver = u" the button reads \"Update\" for ever, after an update too."_s;
    const auto version = versionInAnswer(body);
    if (!version || version->isEmpty())
        return u"The answer is empty or no ASCII text, so that there is no version:"_s + forEver;
    if (isPage(body))
        return u"This is a page and no version:"_s + forEver;
    if (hasWhiteSpace(*version))
        return u"A line end, blank or tab stands in the answer, and no installed version equals it:"_s + forEver;
    return {};
}
} // namespace

Verdict TextVerdicts::installerVersion(const QByteArray &body)
{
    const QString fault = faultOfInstallerVersion(body);
    if (!fault.isEmpty())
        return {.wrong = {fault}};
    return {.right = {u"Players with an older installer than %1 are asked to upgrade."_s.arg(QLatin1StringView(body))}};
}

Verdict TextVerdicts::packVersion(const QByteArray &body)
{
    const QString fault = faultOfPackVersion(body);
    if (!fault.isEmpty())
        return {.wrong = {fault}};
    return {.right = {u"The button reads \"Play\" where pack %1 is installed, and \"Update\" elsewhere."_s.arg(
                *versionInAnswer(body))}};
}

Verdict TextVerdicts::changeLog(const QByteArray &body)
{
    if (!Text::fromAscii(body))
        return {.wrong = {u"The change log is no ASCII text: its window stays empty."_s}};
    if (isPage(body))
        return {.wrong = {u"This is a page: the change log's window shows its source."_s}};
    if (body.trimmed().isEmpty())
        return {.notes = {u"The change log is empty, and so is its window."_s}};
    return {.right = {u"The change log's window shows it: %1"_s.arg(beginning(body))}};
}

Verdict TextVerdicts::accountPage(const QByteArray &body)
{
    if (UserLogin::isRefusal(body))
        return {.wrong = {u"The account was refused: the status reads \"Incorrect Login...\". The log gets: %1"_s.arg(
                    beginning(body))}};
    if (!Text::fromAscii(body))
        return {
            .wrong = {u"The page is no ASCII text: the login succeeds, but the account pane stays empty. Write other "
                      "letters as &#233; and the like."_s}};
    if (body.trimmed().isEmpty())
        return {.wrong = {u"The page is empty, and so is the account pane."_s}};
    return {.right = {u"The login succeeds, and the account pane shows: %1"_s.arg(beginning(body))}};
}

Verdict TextVerdicts::refusal(const QByteArray &body, const std::optional<QByteArray> &page)
{
    if (UserLogin::isRefusal(body))
        return {.right = {u"An empty form is refused: %1"_s.arg(beginning(body))}};
    if (!page || body == *page)
        return {
            .notes = {u"An empty form gets a page too: whatever is typed counts as a login. That is right only where "
                      "there are no accounts."_s}};
    return {.wrong = {
                u"An empty form is refused without \"Error|\" at the beginning: with a wrong password the status "
                "reads \"Logged in as...\", and the refusal is shown as the account page: %1"_s.arg(beginning(body))}};
}

QString TextVerdicts::beginning(const QByteArray &body)
{
    constexpr qsizetype most = 60;
    const QString line = QString::fromUtf8(body.first(qMin(body.size(), most * 4))).simplified();
    return line.size() > most ? line.first(most) + u"..."_s : line;
}
