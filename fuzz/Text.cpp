// Strings and numbers: texts that are read back, and functions that must agree with each other. The first
// byte of an input selects the check: "n" a number as text and a mask, "c" characters and fields. A unit
// separator (0x1F) ends each field of an input.
#include "fuzz/Require.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace hearthix::fuzz {

namespace {

// These functions remove a part from the front of an input. After its end they return zeros and empty texts.
std::string_view takeField(std::string_view& rest, std::size_t size) {
    const std::string_view part = rest.substr(0, size);
    rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    return part;
}

std::string_view takeField(std::string_view& rest) {
    return takeField(rest, rest.find('\x1F'));
}

unsigned takeByte(std::string_view& rest) {
    const unsigned byte = rest.empty() ? 0U : static_cast<unsigned char>(rest[0]);
    takeField(rest, 0);
    return byte;
}

// The value of a digit; other bytes are numbers below and above. The highest bytes are the extreme values.
Integer takeNumber(std::string_view& rest) {
    const unsigned value = takeByte(rest);
    return value < 252 ? static_cast<Integer>(value) - '0' : value < 254 ? INT64_MIN : INT64_MAX;
}

void checkNumber(std::string_view input) {
    const std::string text(takeField(input));
    const double number = Val(text);
    const Integer integer = toInteger(number);
    if (text.find('&') == std::string::npos) {
        const std::string bare(Trim(String(text)).view());
        const std::string decimal = bare.substr(0, bare.find_first_not_of("+-.0123456789eE"));
        require(number == std::strtod(decimal.c_str(), nullptr), "Val");
    }
    require(ValInteger(text) == integer, "ValInteger");
    require(IsNumeric(Format(number, takeField(input))), "a number formatted by any mask is numeric");
    require(std::isinf(number) || Val(Str(number)) == number, "a double reads back");
    require(std::fabs(number) >= 9.2e18 || static_cast<double>(integer) == std::trunc(number),
            "an integer is truncated toward zero");
    require(ValInteger(Str(integer)) == integer, "an integer reads back");
}

void checkCharacters(std::string_view input) {
    const unsigned tags = takeByte(input);
    const Integer start = takeNumber(input);
    const Integer count = takeNumber(input);
    const String text(takeField(input), static_cast<TextEncoding>(tags % 3));
    const String find(takeField(input), static_cast<TextEncoding>(tags / 4 % 3));
    const String replacement(takeField(input), static_cast<TextEncoding>(tags / 16 % 3));
    const Integer kept = std::clamp<Integer>(count, 0, Len(text));
    const String left = Left(text, count), behind = Mid(text, start);
    require(Len(left) == kept && (left + Mid(text, kept + 1)).view() == text.view(), "Left, and the rest");
    require(Mid(text, start, count).view() == Left(behind, count).view(), "Mid with a count");
    require(Right(text, count).view() == Mid(text, Len(text) - kept + 1).view(), "Right");
    require(InStr(start, text, find) > 0 || InStrB(1, behind, find) == 0, "a substring is found");
    require((text == find) == (!isLessIgnoringCase(text, find) && !isLessIgnoringCase(find, text)), "order");
    const Array<String> fields = Split(text, find);
    require(CountFields(text, find) == fields.Ubound() + 1, "CountFields");
    require(Join(fields, find) == text, "Split and Join");
    for (Integer i = 0; i <= fields.Ubound(); ++i)
        require(NthField(text, find, i + 1).view() == fields[i].view(), "NthField");
    require(ReplaceAll(text, find, replacement).view() == Join(fields, replacement).view(), "ReplaceAll");
}

} // namespace

} // namespace hearthix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace fuzz = hearthix::fuzz;
    std::string_view input(reinterpret_cast<const char*>(data), size);
    switch (fuzz::takeByte(input)) {
    case 'n': fuzz::checkNumber(input); break;
    case 'c': fuzz::checkCharacters(input); break;
    default: break;
    }
    return 0;
}
