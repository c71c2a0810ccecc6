// Numbers and their texts. Every operation is a total function: no input raises or is undefined, and no
// locale is looked at.
#pragma once

#include "runtime/text/String.hpp"

#include <cstdint>
#include <string_view>

namespace hearthix {

// The number at the start of a text. Leading white space is skipped; a sign, digits, a fraction and an
// exponent are read as far as they go, with "&h" ahead as hexadecimal and with "&b" as binary digits. Junk
// and the empty text yield 0; what is too large for a double yields infinity.
double Val(std::string_view text);
// Truncated toward zero; values out of range yield the nearest integer that there is, NaN yields 0.
Integer toInteger(double value);
// Val and toInteger in one, exact to the last digit a double holds.
Integer ValInteger(std::string_view text);

constexpr bool isDigit(char letter) {
    return letter >= '0' && letter <= '9';
}
// Takes plain digits off the front of a text; none are 0. It stops at 15, which every double holds.
constexpr Integer takeDigits(std::string_view& text) {
    Integer number = 0;
    std::size_t count = 0;
    for (const char letter : text.substr(0, 15)) {
        if (!isDigit(letter))
            break;
        number = number * 10 + (letter - '0');
        ++count;
    }
    text.remove_prefix(count);
    return number;
}

// Decimal text.
String Str(Integer number);
String Str(std::uint64_t number);
String Str(int number);
// A whole number prints without a fraction, any other with the digits that it takes to read it back.
String Str(double number);
// Hexadecimal text in capitals, without leading zeros; a negative number shows its two's complement.
String Hex(Integer number);
// Text by a mask of '#' (a digit if there is one), '0' (a digit always), at most one '.', and a leading '-'.
// A minus sign stands before a negative number whether or not the mask has one; the last digit is rounded.
String Format(double number, std::string_view mask);
// Whether a text is one plain decimal number: sign, digits and a fraction, with white space around it. Empty
// text, hexadecimal, "inf" and "nan" are none, and neither is what has an exponent: 001e00 is a colour.
bool IsNumeric(std::string_view text);

namespace Bitwise {
std::uint64_t BitAnd(std::uint64_t left, std::uint64_t right);
std::uint64_t BitXor(std::uint64_t left, std::uint64_t right);
// Zero for a shift of 64 and more.
std::uint64_t ShiftRight(std::uint64_t value, unsigned count);
} // namespace Bitwise

} // namespace hearthix
