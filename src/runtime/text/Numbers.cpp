#include "runtime/text/Numbers.hpp"

#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace hearthix {

namespace {

int digitValue(char letter, int bits) {
    int value = 99;
    if (isDigit(letter))
        value = letter - '0';
    else if ((letter | 0x20) >= 'a' && (letter | 0x20) <= 'f')
        value = (letter | 0x20) - 'a' + 10;
    return value < 1 << bits ? value : -1;
}

// The nearest double of digits that stand for so many bits each. A double keeps 53 bits, so the first 60 or
// more, with their last one set when any further one is, round as all of them together would.
double prefixedNumber(std::string_view digits, int bits) {
    constexpr std::uint64_t kEnough = 1ULL << 59;
    constexpr int kInfinite = 1100; // far enough beyond the largest double's exponent
    std::uint64_t leading = 0;
    int exponent = 0;
    for (const char letter : digits) {
        const int digit = digitValue(letter, bits);
        if (digit < 0)
            break;
        if (leading < kEnough) {
            leading = leading << bits | static_cast<unsigned>(digit);
        } else {
            leading |= static_cast<unsigned>(digit != 0);
            exponent = std::min(exponent + bits, kInfinite);
        }
    }
    return std::ldexp(static_cast<double>(leading), exponent);
}

// Whether a number that no double holds is too large, and not too close to zero: by the place of its first
// digit that counts.
bool isTooLarge(std::string_view number) {
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    const std::string_view digits = number.substr(0, mark);
    const auto point = static_cast<double>(std::min(digits.find('.'), digits.size()));
    const auto first = static_cast<double>(digits.find_first_of("123456789"));
    return point - first + (mark < number.size() ? Val(number.substr(mark + 1)) : 0.0) > 0;
}

double decimalNumber(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    // The library takes a second sign, "inf" and "nan" as well.
    if (text.empty() || (!isDigit(text[0]) && text[0] != '.'))
        return 0;
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range)
        value = isTooLarge(text.substr(0, static_cast<std::size_t>(end - text.data())))
                    ? std::numeric_limits<double>::infinity()
                    : 0.0;
    return isNegative ? -value : value;
}

} // namespace

double Val(std::string_view text) {
    text = trimmed(text);
    if (text.size() >= 2 && text[0] == '&') {
        const char prefix = static_cast<char>(text[1] | 0x20);
        if (prefix == 'h')
            return prefixedNumber(text.substr(2), 4);
        if (prefix == 'b')
            return prefixedNumber(text.substr(2), 1);
    }
    return decimalNumber(text);
}

Integer toInteger(double value) {
    constexpr double kLimit = 9223372036854775808.0; // 2 to the power 63
    if (value >= kLimit)
        return std::numeric_limits<Integer>::max();
    if (value < -kLimit)
        return std::numeric_limits<Integer>::min();
    return std::isnan(value) ? 0 : static_cast<Integer>(value);
}

Integer ValInteger(std::string_view text) {
    // Nearly all numbers on the wire are a few plain digits.
    std::string_view rest = text;
    const Integer value = takeDigits(rest);
    return rest.empty() ? value : toInteger(Val(text));
}

namespace {

template <class Number>
String numberText(Number number, int base = 10) {
    char digits[72];
    const auto end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
    return String(std::string_view(digits, static_cast<std::size_t>(end - digits)), TextEncoding::utf8);
}

} // namespace

String Str(Integer number) {
    return numberText(number);
}

String Str(std::uint64_t number) {
    return numberText(number);
}

String Str(int number) {
    return numberText(number);
}

String Str(double number) {
    if (number == 0)
        return Str(Integer{0});
    char digits[340];
    const bool isWhole = std::trunc(number) == number;
    const auto end =
        (isWhole ? std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed)
                 : std::to_chars(digits, digits + sizeof digits, number))
            .ptr;
    return String(std::string_view(digits, static_cast<std::size_t>(end - digits)), TextEncoding::utf8);
}

String Hex(Integer number) {
    char digits[16];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, static_cast<std::uint64_t>(number), 16).ptr;
    std::transform(digits, end, digits, [](char letter) {
        return letter >= 'a' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return String(std::string_view(digits, static_cast<std::size_t>(end - digits)), TextEncoding::utf8);
}

String Format(double number, std::string_view mask) {
    if (std::isnan(number))
        number = 0;
    const std::size_t point = mask.find('.');
    const std::string_view wholeMask = mask.substr(0, point);
    const std::string_view fractionMask =
        point == std::string_view::npos ? std::string_view() : mask.substr(point + 1);
    const auto leastWhole = static_cast<std::size_t>(std::count(wholeMask.begin(), wholeMask.end(), '0'));
    const auto leastFraction =
        static_cast<std::size_t>(std::count(fractionMask.begin(), fractionMask.end(), '0'));
    const auto mostFraction = static_cast<int>(std::min<std::size_t>(fractionMask.size(), 20));

    // A double has at most 309 digits before the point.
    const double magnitude = std::min(std::fabs(number), std::numeric_limits<double>::max());
    char digits[340];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, magnitude, std::chars_format::fixed, mostFraction).ptr;
    std::string text(digits, end);
    std::size_t whole = std::min(text.find('.'), text.size());
    while (text.size() > whole + 1 + leastFraction && text.back() == '0')
        text.pop_back();
    if (text.back() == '.')
        text.pop_back();
    if (whole < leastWhole)
        text.insert(0, leastWhole - whole, '0');
    if (number < 0 && text.find_first_not_of("0.") != std::string::npos)
        text.insert(0, 1, '-');
    return String(text, TextEncoding::utf8);
}

bool IsNumeric(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('-') || text.starts_with('+'))
        text.remove_prefix(1);
    bool hasDigit = false;
    bool hasPoint = false;
    for (const char letter : text) {
        if (isDigit(letter))
            hasDigit = true;
        else if (letter == '.' && !hasPoint)
            hasPoint = true;
        else
            return false;
    }
    return hasDigit;
}

namespace Bitwise {

std::uint64_t BitAnd(std::uint64_t left, std::uint64_t right) {
    return left & right;
}
std::uint64_t BitXor(std::uint64_t left, std::uint64_t right) {
    return left ^ right;
}
std::uint64_t ShiftRight(std::uint64_t value, unsigned count) {
    return count < 64 ? value >> count : 0;
}

} // namespace Bitwise

} // namespace hearthix
