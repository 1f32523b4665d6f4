#pragma once

#include "check/Verdict.h"

class QDateTime;
struct UrlInspection;
struct UrlRequest;

// On what the program does not look at: everything about an answer but its body.
namespace ExchangeVerdict
{
// unanswered: what players get without an answer; takenAs: what any answer counts as.
Verdict of(const UrlInspection &inspection, const UrlRequest &request, const QString &unanswered,
           const QString &takenAs);
Verdict ofCertificate(const QString &host, const QDateTime &end);
// Of the page that a click on a banner opens in the browser.
Verdict ofBannerTarget(const UrlInspection &inspection);
} // namespace ExchangeVerdict
