#include "pack/FormEncoding.h"

#include "places/Preferences.h"
#include "platform/UrlLoader.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{
QByteArray addPercentEscapes(const QString &text)
{
    return QUrl::toPercentEncoding(text, "!*'();/?:@&=+$,");
}
} // namespace

QByteArray FormEncoding::encodeDictionary(const FormPairs &pairs)
{
    QList<QByteArray> texts;
    for (const auto &[name, value] : pairs)
        texts.append(addPercentEscapes(name) + '=' + addPercentEscapes(value));
    return texts.join('&');
}

QString FormEncoding::urlencode(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text, " ")).replace(u' ', u'+');
}

FormPairs FormEncoding::accountPairs(const UserDefaults &defaults)
{
    FormPairs pairs;
    const auto user = Preferences::userName.storedIn(defaults);
    const auto password = Preferences::password.storedIn(defaults);
    if (user)
        pairs.append({u"user"_s, *user});
    if (user && password)
        pairs.append({u"pass"_s, *password});
    return pairs;
}

UrlRequest FormEncoding::formRequest(const QString &url, const FormPairs &pairs)
{
    const QByteArray body = encodeDictionary(pairs);
    return {.url = url,
            .method = "POST",
            .headers = {{"Content-Length", QByteArray::number(body.size())},
                        {"Content-Type", "application/x-www-form-urlencoded charset=utf-8"}},
            .body = body};
}
