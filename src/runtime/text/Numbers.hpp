// Numbers and their texts. Every function accepts every input without an exception and ignores the locale.
#pragma once

#include "runtime/text/String.hpp"

#include <charconv>
#include <concepts>
#include <cstdint>
#include <string_view>

namespace hearthix {

// The number at the start of a text, after white space: a sign, digits, a fraction and an exponent; after
// "&h" hexadecimal and after "&b" binary digits. 0 if there is no number, infinity if it is too large
// for a double.
double Val(std::string_view text);
// Truncates toward zero. A value out of range yields the nearest Integer, NaN yields 0.
Integer toInteger(double value);
// The same as toInteger(Val(text)).
Integer ValInteger(std::string_view text);

constexpr bool isDigit(char letter) {
    return letter >= '0' && letter <= '9';
}
// Removes the plain digits from the front of a text and returns their number. 0 if there are none; at most 15
// digits, so that a double could contain it.
constexpr Integer takeDigits(std::string_view& text) {
    Integer number = 0;
    std::size_t count = 0;
    for (; count < 15 && count < text.size() && isDigit(text[count]); ++count)
        number = number * 10 + (text[count] - '0');
    text.remove_prefix(count);
    return number;
}

// Decimal text.
template <std::integral Number>
String Str(Number number) {
    char digits[20];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return String(std::string_view(digits, end), TextEncoding::utf8);
}
// A whole number has no fraction. Other numbers get the digits that are needed to read the same number back.
String Str(double number);
// Hexadecimal text in capitals, without leading zeros. A negative number is printed as its two's complement.
String Hex(Integer number);
// A decimal number by a mask of "#", "0", at most one "." and a leading "-". Before and behind the point
// there are at least as many digits as the mask has zeros there; behind the point at most as many as it has
// characters. The last digit is rounded. A negative number has a minus sign with or without one in the mask.
String Format(double number, std::string_view mask);
// Whether a text is one plain decimal number: sign, digits and a fraction, with white space around it. Empty
// texts, hexadecimal numbers, "inf" and "nan" are not, and a number with an exponent is not: 001e00 is a
// colour.
bool IsNumeric(std::string_view text);

namespace Bitwise {
constexpr std::uint64_t BitAnd(std::uint64_t left, std::uint64_t right) {
    return left & right;
}
constexpr std::uint64_t BitXor(std::uint64_t left, std::uint64_t right) {
    return left ^ right;
}
// 0 for a shift by 64 or more.
constexpr std::uint64_t ShiftRight(std::uint64_t value, unsigned count) {
    return count < 64 ? value >> count : 0;
}
} // namespace Bitwise

} // namespace hearthix
