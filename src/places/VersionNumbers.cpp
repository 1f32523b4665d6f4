#include "places/VersionNumbers.h"

namespace
{
bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

// Takes the digits at the text's beginning off it; leading zeros are no part of the value.
QStringView takeDigits(QStringView &text)
{
    qsizetype length = 0;
    while (length < text.size() && isDigit(text[length]))
        ++length;
    QStringView digits = text.first(length);
    text = text.sliced(length);
    while (digits.startsWith(u'0'))
        digits = digits.sliced(1);
    return digits;
}

int sign(qsizetype difference)
{
    return (difference > 0) - (difference < 0);
}

int compareDigits(QStringView left, QStringView right)
{
    return left.size() == right.size() ? left.compare(right) : sign(left.size() - right.size());
}
} // namespace

QString VersionNumbers::shortened(QStringView version)
{
    while (version.endsWith(u".0"))
        version.chop(2);
    return version.toString();
}

int VersionNumbers::compare(QStringView left, QStringView right)
{
    while (!left.isEmpty() && !right.isEmpty()) {
        int difference = 0;
        if (isDigit(left.front()) && isDigit(right.front())) {
            const QStringView leftDigits = takeDigits(left);
            difference = compareDigits(leftDigits, takeDigits(right));
        } else {
            difference = sign(left.front().unicode() - right.front().unicode());
            left = left.sliced(1);
            right = right.sliced(1);
        }
        if (difference != 0)
            return difference;
    }
    return sign(left.size() - right.size());
}
