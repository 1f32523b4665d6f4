#include "places/VersionNumbers.h"

#include <algorithm>

namespace
{
bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

// Takes the digits at the text's beginning off it; leading zeros are no part of the value.
std::string_view takeDigits(std::string_view &text)
{
    const auto length = std::min(text.find_first_not_of("0123456789"), text.size());
    std::string_view digits = text.substr(0, length);
    text.remove_prefix(length);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

template<typename Value> int order(const Value &left, const Value &right)
{
    return (left > right) - (left < right);
}

int compareDigits(std::string_view left, std::string_view right)
{
    return left.size() == right.size() ? order(left, right) : order(left.size(), right.size());
}
} // namespace

std::string_view VersionNumbers::shortened(std::string_view version)
{
    while (version.ends_with(".0"))
        version.remove_suffix(2);
    return version;
}

int VersionNumbers::compare(std::string_view left, std::string_view right)
{
    while (!left.empty() && !right.empty()) {
        int difference = 0;
        if (isDigit(left.front()) && isDigit(right.front())) {
            const std::string_view leftDigits = takeDigits(left);
            difference = compareDigits(leftDigits, takeDigits(right));
        } else {
            difference = order(left.front(), right.front());
            left.remove_prefix(1);
            right.remove_prefix(1);
        }
        if (difference != 0)
            return difference;
    }
    return order(left.size(), right.size());
}
