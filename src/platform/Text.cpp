#include "platform/Text.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
template<typename Result, typename View> Result fill(View format, View placeholder, const QList<Result> &values)
{
    Result text;
    qsizetype from = 0;
    for (const Result &value : values) {
        const qsizetype at = format.indexOf(placeholder, from);
        if (at < 0)
            break;
        text.append(format.sliced(from, at - from));
        text.append(value);
        from = at + placeholder.size();
    }
    text.append(format.sliced(from));
    return text;
}
} // namespace

std::optional<QString> Text::fromAscii(QByteArrayView bytes)
{
    const bool ascii = std::ranges::all_of(bytes, [](char byte) { return static_cast<uchar>(byte) < 0x80; });
    return ascii ? std::optional(QString::fromLatin1(bytes)) : std::nullopt;
}

std::optional<QString> Text::fromUtf8(QByteArrayView bytes)
{
    QStringDecoder decode(QStringDecoder::Utf8,
                          QStringConverter::Flag::ConvertInitialBom | QStringConverter::Flag::Stateless);
    const QString text = decode(bytes);
    return decode.hasError() ? std::nullopt : std::optional(text);
}

QString Text::orNull(const std::optional<QString> &text)
{
    return text.value_or(u"(null)"_s);
}

QString Text::filled(QStringView format, const QList<QString> &values)
{
    return fill<QString, QStringView>(format, u"%@", values);
}

QByteArray Text::filled(QByteArrayView format, const QList<QByteArray> &values)
{
    return fill<QByteArray, QByteArrayView>(format, "%@", values);
}
