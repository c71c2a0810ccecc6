// Strings and numbers: what reads back, what agrees with another way to it, and no crash. An input's first
// byte picks the check: "n" a number as text, "d" the eight bytes of a double, "c" characters and fields.
// Fields of an input end in a unit separator (0x1F).
#include "fuzz/Require.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/KeyHash.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
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
    const unsigned value = takeByte(rest);
    return value < 252 ? static_cast<Integer>(value) - '0' : value < 254 ? INT64_MIN : INT64_MAX;
}

void checkNumber(double number, std::string_view mask) {
    require(IsNumeric(Format(number, mask)), "a number by any mask is a number");
    const String text = Str(number);
    require(std::isnan(number) || std::isinf(number) || Val(text) == number, "a double reads back");
    const Integer integer = toInteger(number);
    require(std::fabs(number) >= 9.2e18 || std::isnan(number) ||
                static_cast<double>(integer) == std::trunc(number),
            "an integer is cut toward zero");
    require(ValInteger(Str(integer)) == integer, "an integer reads back");
}

void checkNumberText(std::string_view input) {
    const std::string text(takeField(input));
    const double value = Val(text);
    if (text.find('&') == std::string::npos) {
        const std::string bare(Trim(String(text)).view());
        const std::string decimal = bare.substr(0, bare.find_first_not_of("+-.0123456789eE"));
        require(value == std::strtod(decimal.c_str(), nullptr), "Val");
    }
    require(ValInteger(text) == toInteger(value), "ValInteger");
    checkNumber(value, takeField(input));
}

void checkCuts(const String& text, Integer start, Integer count) {
    const Integer kept = std::clamp<Integer>(count, 0, Len(text));
    const String left = Left(text, count);
    require(Len(left) == kept && (left + Mid(text, kept + 1)).view() == text.view(), "Left, and the rest");
    require(text.view().ends_with(Mid(text, start).view()), "Mid");
    require(Mid(text, start, count).view() == Left(Mid(text, start), count).view(), "Mid with a count");
    require(Right(text, count).view() == Mid(text, Len(text) - kept + 1).view(), "Right");
}

void checkFields(const String& text, const String& separator, const String& replacement) {
    const Array<String> fields = Split(text, separator);
    require(CountFields(text, separator) == fields.Ubound() + 1, "CountFields");
    require(Join(fields, separator) == text, "Split and Join");
    for (Integer i = 0; i <= fields.Ubound(); ++i)
        require(NthField(text, separator, i + 1).view() == fields[i].view(), "NthField");
    require(ReplaceAll(text, separator, replacement).view() == Join(fields, replacement).view(),
            "ReplaceAll");
}

void checkSearch(const String& text, const String& find, Integer start) {
    require(InStr(start, text, find) > 0 || InStrB(1, Mid(text, start), find) == 0,
            "what is there in the same case is found");
    require(!(text == find) || hashIgnoringCase(text) == hashIgnoringCase(find), "equal texts hash alike");
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
    case 'c': fuzz::checkCharacters(input); break;
    default: break;
    }
    return 0;
}
