#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

using FormPairs = QList<std::pair<QString, QString>>; // name and value

struct UrlRequest;
class UserDefaults;

namespace FormEncoding
{
// "name=value" pairs joined by "&", in UTF-8. What RFC 2396 reserves passes as it is, "&", "=" and "+" in a value among
// them: the vendor's service has always been sent such passwords raw, and a change would lock their owners out.
QByteArray encodeDictionary(const FormPairs &pairs);
// The other form: a blank is "+", and all but letters, digits and . - _ ~ is escaped.
QString urlencode(const QString &text);

// The stored account as the pairs "user" and "pass", up to the first that is absent.
FormPairs accountPairs(const UserDefaults &defaults);
// A POST of the pairs. The content type has no semicolon: the vendor's service expects it so.
UrlRequest formRequest(const QString &url, const FormPairs &pairs);
} // namespace FormEncoding
