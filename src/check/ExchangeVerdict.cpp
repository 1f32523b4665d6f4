#include "check/ExchangeVerdict.h"

#include "platform/UrlInspector.h"

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 leastDays = 14; // time enough to renew a certificate by hand

bool isPostedAgain(int redirectStatus)
{
    return redirectStatus != 301 && redirectStatus != 302 && redirectStatus != 303;
}
} // namespace

Verdict ExchangeVerdict::of(const UrlInspection &inspection, const UrlRequest &request, const QString &unanswered,
                            const QString &takenAs)
{
    if (!inspection.error.isEmpty())
        return {.wrong = {u"There is no answer (%1): %2."_s.arg(inspection.error, unanswered)}};
    Verdict verdict;
    for (const UrlRedirect &redirect : inspection.redirects) {
        if (request.method == "POST" && !isPostedAgain(redirect.status))
            verdict.wrong += u"It is redirected with status %1 to %2, and arrives there as a GET without the account."_s
                                 .arg(redirect.status)
                                 .arg(redirect.target);
        else
            verdict.notes += u"It is redirected to %1, which costs every player a request more."_s.arg(redirect.target);
    }
    if (inspection.status != 200)
        verdict.wrong +=
            u"The status is %1. The program does not look at it, and takes what came for %2."_s.arg(inspection.status)
                .arg(takenAs);
    const QByteArray encoding = inspection.header("Content-Encoding");
    if (!encoding.isEmpty() && encoding != "identity")
        verdict.wrong +=
            u"The answer is encoded (%1), which was not asked for: the program takes the encoded bytes for %2."_s.arg(
                QString::fromLatin1(encoding), takenAs);
    return verdict;
}

Verdict ExchangeVerdict::ofCertificate(const QString &host, const QDateTime &end)
{
    const qint64 days = QDateTime::currentDateTimeUtc().daysTo(end);
    if (days >= leastDays)
        return {.notes = {u"The certificate of %1 is good for %2 more days."_s.arg(host).arg(days)}};
    return {
        .wrong = {u"The certificate of %1 ends in %2 days, on %3. From then on no program gets an answer from there."_s
                      .arg(host)
                      .arg(days)
                      .arg(end.date().toString(Qt::ISODate))}};
}

Verdict ExchangeVerdict::ofBannerTarget(const UrlInspection &inspection)
{
    if (!inspection.error.isEmpty())
        return {
            .wrong = {u"There is no answer (%1): a click on a banner opens a page that the browser cannot show."_s.arg(
                inspection.error)}};
    if (!inspection.redirects.isEmpty())
        return {.right = {u"A click on a banner leads to %1"_s.arg(inspection.redirects.constFirst().target)}};
    if (inspection.status != 200)
        return {.wrong = {u"The status is %1: a click on a banner opens an error page."_s.arg(inspection.status)}};
    return {.right = {u"A click on a banner opens this page."_s}};
}
