#include "runtime/text/Numbers.hpp"

#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

namespace hearthix {

namespace {

// The nearest double of hexadecimal (4 bits) or binary digits (1 bit). A double has 53 bits. Rounding the
// first 60 of them, with the last one set if a further one is set, gives the same result as rounding all.
double prefixedNumber(std::string_view digits, int bits) {
    constexpr std::uint64_t kEnough = 1ULL << 59;
    constexpr int kInfinite = 1100; // greater than the exponent of the largest double
    std::uint64_t leading = 0;
    int exponent = 0;
    for (const char& letter : digits) {
        unsigned digit = 0;
        if (std::from_chars(&letter, &letter + 1, digit, 1 << bits).ec != std::errc())
            break;
        if (leading < kEnough) {
            leading = leading << bits | digit;
        } else {
            leading |= static_cast<unsigned>(digit != 0);
            exponent = std::min(exponent + bits, kInfinite);
        }
    }
    return std::ldexp(static_cast<double>(leading), exponent);
}

double decimalNumber(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    // std::from_chars also accepts a second sign, "inf" and "nan".
    if (text.empty() || (!isDigit(text[0]) && text[0] != '.'))
        return 0;
    double value = 0;
    // For a number out of range, std::strtod returns whether it is too large or too small.
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc::result_out_of_range)
        value = std::strtod(std::string(text).c_str(), nullptr);
    return isNegative ? -value : value;
}

} // namespace

double Val(std::string_view text) {
    text = trimmed(text);
    if (RuntimeStringCompare(text.substr(0, 2), "&h"))
        return prefixedNumber(text.substr(2), 4);
    if (RuntimeStringCompare(text.substr(0, 2), "&b"))
        return prefixedNumber(text.substr(2), 1);
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
    return toInteger(Val(text));
}

String Str(double number) {
    if (number == 0)
        return "0";
    char digits[340];
    char* const limit = digits + sizeof digits;
    const char* end = std::trunc(number) == number
                          ? std::to_chars(digits, limit, number, std::chars_format::fixed).ptr
                          : std::to_chars(digits, limit, number).ptr;
    return String(std::string_view(digits, end), TextEncoding::utf8);
}

String Hex(Integer number) {
    char digits[16];
    char* end = std::to_chars(digits, digits + sizeof digits, static_cast<std::uint64_t>(number), 16).ptr;
    for (char& digit : std::span(digits, end))
        if (!isDigit(digit))
            digit = static_cast<char>(digit - 'a' + 'A');
    return String(std::string_view(digits, end), TextEncoding::utf8);
}

String Format(double number, std::string_view mask) {
    const std::string_view wholeMask = mask.substr(0, mask.find('.'));
    const std::string_view fractionMask = mask.substr(std::min(wholeMask.size() + 1, mask.size()));
    const auto leastWhole = static_cast<std::size_t>(std::count(wholeMask.begin(), wholeMask.end(), '0'));
    const auto leastFraction =
        static_cast<std::size_t>(std::count(fractionMask.begin(), fractionMask.end(), '0'));
    const auto mostFraction = static_cast<int>(std::min<std::size_t>(fractionMask.size(), 20));

    // A double has at most 309 digits before the point.
    const double magnitude =
        std::isnan(number) ? 0 : std::min(std::fabs(number), std::numeric_limits<double>::max());
    char digits[340];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, magnitude, std::chars_format::fixed, mostFraction).ptr;
    std::string text(digits, end);
    const std::size_t whole = std::min(text.find('.'), text.size());
    while (text.size() > whole + 1 + leastFraction && text.back() == '0')
        text.pop_back();
    if (text.back() == '.')
        text.pop_back();
    text.insert(0, leastWhole - std::min(leastWhole, whole), '0');
    if (number < 0 && text.find_first_not_of("0.") != std::string::npos)
        text.insert(0, 1, '-');
    return String(text, TextEncoding::utf8);
}

bool IsNumeric(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('-') || text.starts_with('+'))
        text.remove_prefix(1);
    const auto isPoint = [](char letter) { return letter == '.'; };
    return std::any_of(text.begin(), text.end(), isDigit) &&
           std::count_if(text.begin(), text.end(), isPoint) < 2 &&
           std::all_of(text.begin(), text.end(),
                       [&](char letter) { return isDigit(letter) || isPoint(letter); });
}

} // namespace hearthix
