#pragma once

#include "check/Verdict.h"

#include <QByteArray>

#include <optional>

// On the answers that are short texts. A body goes in as it came.
namespace TextVerdicts
{
Verdict installerVersion(const QByteArray &body);
Verdict packVersion(const QByteArray &body);
Verdict changeLog(const QByteArray &body);
Verdict accountPage(const QByteArray &body); // to a right account
// The answer to an empty form; page is the answer to a right account, nothing where none was tried.
Verdict refusal(const QByteArray &body, const std::optional<QByteArray> &page);

// The text's beginning, on one line.
QString beginning(const QByteArray &body);
} // namespace TextVerdicts
