// Strings and numbers against what the standard library makes of the same bytes. An input's first byte picks
// the check: "n" a number as text, "d" the eight bytes of a double, "c" characters and fields.
// Fields of an input end in a unit separator (0x1F).
#include "fuzz/Require.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/KeyHash.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace hearthix::fuzz {

namespace {

// These take an input apart from its front; past its end there are zeros and empty texts.
std::string_view takeBytes(std::string_view& rest, std::size_t count) {
    const std::string_view part = rest.substr(0, count);
    rest.remove_prefix(part.size());
    return part;
}

unsigned takeByte(std::string_view& rest) {
    const std::string_view first = takeBytes(rest, 1);
    return first.empty() ? 0U : static_cast<unsigned char>(first[0]);
}

std::string_view takeField(std::string_view& rest) {
    const std::string_view part = takeBytes(rest, rest.find('\x1F'));
    takeByte(rest);
    return part;
}

// What a digit stands for, and on to both sides of it; the highest bytes are the extremes.
Integer takeNumber(std::string_view& rest) {
    using Limits = std::numeric_limits<Integer>;
    constexpr std::array kExtremes{Limits::min(), Limits::min() + 1, Limits::max() - 1, Limits::max()};
    const unsigned value = takeByte(rest);
    return value < 252 ? static_cast<Integer>(value) - '0' : kExtremes[value - 252];
}

std::string withoutBlanks(std::string_view text) {
    constexpr std::string_view kBlank = " \t\n\v\f\r";
    const std::size_t first = std::min(text.find_first_not_of(kBlank), text.size());
    return std::string(text.substr(first, text.find_last_not_of(kBlank) + 1 - first));
}

void checkNumber(double number, std::string_view mask) {
    require(IsNumeric(Format(number, mask)), "a number by any mask is a number");
    const String text = Str(number);
    require(std::isnan(number) || std::isinf(number) || Val(text) == number, "a double reads back");
    const Integer integer = toInteger(number);
    if (std::fabs(number) < 9.2e18)
        require(static_cast<double>(integer) == std::trunc(number), "an integer is cut toward zero");
    else
        require(std::isnan(number) ? integer == 0 : (integer > 0) == (number > 0), "an integer saturates");
    require(Str(integer).view() == std::to_string(integer), "Str");
}

void checkNumberText(std::string_view input) {
    const std::string text(takeField(input));
    const std::string bare = withoutBlanks(text);
    const double value = Val(text);
    if (bare.starts_with("&h") || bare.starts_with("&H")) {
        const std::string digits = bare.substr(2, bare.find_first_not_of("0123456789abcdefABCDEF", 2) - 2);
        const double expected = std::strtod(("0x" + digits).c_str(), nullptr);
        require(value == expected || std::fabs(value - expected) < expected * 1e-12, "Val of hexadecimal");
    } else if (!bare.starts_with("&b") && !bare.starts_with("&B")) {
        const std::string decimal = bare.substr(0, bare.find_first_not_of("+-.0123456789eE"));
        char* end = nullptr;
        require(value == std::strtod(decimal.c_str(), &end), "Val");
        const bool plain = decimal == bare && bare.find_first_of("eE") == std::string::npos;
        require(IsNumeric(text) == (plain && !bare.empty() && *end == '\0'), "IsNumeric");
    }
    require(ValInteger(text) == toInteger(value), "ValInteger");
    checkNumber(value, takeField(input));
}

void checkDouble(std::string_view input) {
    double number = 0;
    const std::string_view bytes = takeBytes(input, sizeof number);
    std::memcpy(&number, bytes.data(), bytes.size());
    checkNumber(number, takeField(input));
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& letter : result)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
    return result;
}

void checkCuts(const String& text, Integer start, Integer count) {
    const Integer total = Len(text);
    const Integer kept = std::clamp<Integer>(count, 0, total);
    const Integer skipped = std::clamp<Integer>(start, 1, total + 1) - 1;
    const String left = Left(text, count);
    require(Len(left) == kept && (left + Mid(text, kept + 1)).view() == text.view(), "Left, and the rest");
    require(Len(Mid(text, start)) == total - skipped && text.view().ends_with(Mid(text, start).view()),
            "Mid");
    require(Mid(text, start, count).view() == Left(Mid(text, start), count).view(), "Mid with a count");
    require(Right(text, count).view() == Mid(text, total - kept + 1).view(), "Right");
    const String bytes = DefineEncoding(text, TextEncoding::none);
    require(Len(bytes) == LenB(text), "a byte without a tag is a character");
    require(Trim(text).view() == withoutBlanks(text), "Trim");
}

void checkFields(const String& text, const String& separator, const String& replacement) {
    const Array<String> fields = Split(text, separator);
    require(CountFields(text, separator) == fields.Ubound() + 1, "CountFields");
    require(lowered(Join(fields, separator)) == lowered(text), "Split and Join");
    for (Integer i = 0; i <= fields.Ubound(); ++i) {
        require(NthField(text, separator, i + 1).view() == fields[i].view(), "NthField");
        require(separator.empty() || lowered(fields[i]).find(lowered(separator)) == std::string::npos,
                "a field holds no separator");
    }
    require(text.empty() || NthField(text, separator, fields.Ubound() + 2).empty(), "no further field");
    require(ReplaceAll(text, separator, replacement).view() == Join(fields, replacement).view(),
            "ReplaceAll");
}

void checkSearch(const String& text, const String& find, Integer start) {
    const Integer before = std::clamp<Integer>(start, 1, Len(text) + 1) - 1;
    const std::size_t found = lowered(text).find(lowered(find), Left(text, before).size());
    const bool none = found == std::string::npos;
    require(InStr(start, text, find) == (none ? 0 : Len(text.cut(0, found)) + 1), "InStr");
    const std::size_t byte =
        text.view().find(find.view(), static_cast<std::size_t>(std::max<Integer>(start, 1) - 1));
    require(InStrB(start, text, find) == static_cast<Integer>(byte + 1), "InStrB");
    const String small(lowered(text));
    require(text == small && hashIgnoringCase(text) == hashIgnoringCase(small), "the case of a text");
    require((text == find) == (lowered(text) == lowered(find)), "equality");
}

void checkCharacters(std::string_view input) {
    const unsigned tags = takeByte(input);
    const Integer start = takeNumber(input);
    const Integer count = takeNumber(input);
    const String text(takeField(input), static_cast<TextEncoding>(tags % 4));
    const String find(takeField(input), static_cast<TextEncoding>(tags / 4 % 4));
    const String replacement(takeField(input), static_cast<TextEncoding>(tags / 16 % 4));
    checkCuts(text, start, count);
    checkFields(text, find, replacement);
    checkSearch(text, find, start);
}

} // namespace

} // namespace hearthix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace fuzz = hearthix::fuzz;
    std::string_view input(reinterpret_cast<const char*>(data), size);
    switch (fuzz::takeByte(input)) {
    case 'n': fuzz::checkNumberText(input); break;
    case 'd': fuzz::checkDouble(input); break;
    case 'c': fuzz::checkCharacters(input); break;
    default: break;
    }
    return 0;
}
