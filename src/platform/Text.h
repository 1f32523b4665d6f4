#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// Strict decoding: nothing at all where one byte does not belong to the encoding. Qt's own fromUtf8 and fromLatin1
// accept every byte. A byte-order mark is kept as a character.
namespace Text
{
std::optional<QString> fromAscii(QByteArrayView bytes); // 7 bit
std::optional<QString> fromUtf8(QByteArrayView bytes);

// What the platform writes for an absent text.
QString orNull(const std::optional<QString> &text);

// Fills every "%@" of the format, one value after the other in one pass from left to right, so that a "%@" inside a
// value stays as it is. A placeholder without a value stays too.
QString filled(QStringView format, const QList<QString> &values);
QByteArray filled(QByteArrayView format, const QList<QByteArray> &values);
} // namespace Text
