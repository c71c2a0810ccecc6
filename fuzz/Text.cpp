// Strings and numbers against what the standard library makes of the same bytes. An input's first byte picks
// the check: "n" a number as text, "d" the eight bytes of a double, "b" Base64, "c" characters and fields,
// "s" operations on strings that share their bytes. Fields of an input end in a unit separator (0x1F).
#include "fuzz/Require.hpp"
#include "runtime/Base64.hpp"
#include "runtime/Numbers.hpp"
#include "runtime/StringFunctions.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace hearthix::fuzz {

namespace {

// Takes an input apart from its front; past its end there are zeros and empty texts.
class Reader {
public:
    explicit Reader(std::string_view bytes) : rest_(bytes) {}

    bool done() const { return rest_.empty(); }
    unsigned byte() {
        const std::string_view first = bytes(1);
        return first.empty() ? 0U : static_cast<unsigned char>(first[0]);
    }
    std::string_view bytes(std::size_t count) {
        const std::string_view part = rest_.substr(0, count);
        rest_.remove_prefix(part.size());
        return part;
    }
    std::string_view field() {
        const std::string_view part = rest_.substr(0, rest_.find('\x1F'));
        rest_.remove_prefix(std::min(part.size() + 1, rest_.size()));
        return part;
    }
    // What a digit stands for, and on to both sides of it; the highest bytes are the extremes.
    Integer number() {
        using Limits = std::numeric_limits<Integer>;
        constexpr std::array kExtremes{Limits::min(), Limits::min() + 1, Limits::max() - 1, Limits::max()};
        const unsigned value = byte();
        return value < 252 ? static_cast<Integer>(value) - '0' : kExtremes[value - 252];
    }

private:
    std::string_view rest_;
};

std::string withoutBlanks(std::string_view text) {
    constexpr std::string_view kBlank = " \t\n\v\f\r";
    const std::size_t first = std::min(text.find_first_not_of(kBlank), text.size());
    return std::string(text.substr(first, text.find_last_not_of(kBlank) + 1 - first));
}

std::string print(const char* form, int digits, double number) {
    char text[400];
    std::snprintf(text, sizeof text, form, digits, number);
    return text;
}

void checkFormat(double number, std::string_view mask) {
    const double finite =
        std::isnan(number) ? 0.0 : std::clamp(number, -1.7976931348623157e308, 1.7976931348623157e308);
    const auto expect = [&](const char* form, int digits, const char* name) {
        std::string text = print(form, digits, std::fabs(finite));
        while (text.find('.') != std::string::npos && (text.back() == '0' || text.back() == '.'))
            text.pop_back();
        if (finite < 0 && text.find_first_not_of("0.") != std::string::npos)
            text.insert(0, "-");
        require(Format(number, name).view() == text, name);
    };
    expect("%.*f", 0, "#");
    expect("%03.*f", 0, "000");
    expect("%.*f", 10, "-#.##########");
    const String any = Format(number, mask);
    const std::string_view digits = any.view().substr(any.view().starts_with('-') ? 1 : 0);
    require(!digits.empty() && digits.find_first_not_of("0123456789.") == std::string_view::npos,
            "a number by any mask is digits");
    require(IsNumeric(any), "a number by any mask is a number");
}

void checkNumber(double number, std::string_view mask) {
    checkFormat(number, mask);
    const String text = Str(number);
    require(std::isnan(number) || std::isinf(number) || Val(text) == number, "a double reads back");
    const Integer integer = toInteger(number);
    if (std::fabs(number) < 9.2e18)
        require(static_cast<double>(integer) == std::trunc(number), "an integer is cut toward zero");
    else
        require(std::isnan(number) ? integer == 0 : (integer > 0) == (number > 0), "an integer saturates");
    require(Str(integer).view() == std::to_string(integer), "Str");
    char hex[20];
    std::snprintf(hex, sizeof hex, "%llX", static_cast<unsigned long long>(integer));
    require(Hex(integer).view() == hex, "Hex");
    const std::uint64_t natural = toUnsigned(number);
    require(Str(natural).view() == std::to_string(natural), "Str of what has no sign");
    require(!(number >= 0 && number < 1.8e19) || static_cast<double>(natural) == std::trunc(number),
            "a natural number is cut as well");
}

void checkNumberText(Reader input) {
    const std::string text(input.field());
    const std::string bare = withoutBlanks(text);
    const double value = Val(text);
    if (bare.starts_with("&h") || bare.starts_with("&H")) {
        const std::string digits = bare.substr(2, bare.find_first_not_of("0123456789abcdefABCDEF", 2) - 2);
        const double expected = std::strtod(("0x" + digits).c_str(), nullptr);
        require(value == expected || std::fabs(value - expected) < expected * 1e-12, "Val of hexadecimal");
    } else if (!bare.starts_with("&b") && !bare.starts_with("&B")) {
        const std::string decimal = bare.substr(0, bare.find_first_not_of("+-.0123456789eE"));
        require(value == std::strtod(decimal.c_str(), nullptr), "Val");
        char* end = nullptr;
        std::strtod(bare.c_str(), &end);
        const bool numeric = !bare.empty() && decimal == bare && *end == '\0' && end != bare.c_str();
        require(IsNumeric(text) == numeric, "IsNumeric");
    }
    require(ValInteger(text) == toInteger(value), "ValInteger");
    checkNumber(value, input.field());
}

void checkDouble(Reader input) {
    double number = 0;
    const std::string_view bytes = input.bytes(sizeof number);
    std::memcpy(&number, bytes.data(), bytes.size());
    checkNumber(number, input.field());
}

void checkBase64(Reader input) {
    const Integer line = input.number();
    const String bytes(input.field());
    const String text = EncodeBase64(bytes, line);
    require(DecodeBase64(text).view() == bytes.view(), "Base64 there and back");
    const Array<String> lines = Split(text, "\r\n");
    for (std::int64_t i = 0; i < lines.Ubound() && line > 0; ++i)
        require(LenB(lines[i]) == line, "a line of Base64 is as long as it should be");
    require(line > 0 || lines.Ubound() < 1, "one line of Base64");
    const String decoded = DecodeBase64(bytes);
    require(DecodeBase64(EncodeBase64(decoded, 0)).view() == decoded.view(), "Base64 of anything");
}

using Characters = std::vector<std::string>;

std::size_t widthOf(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const std::size_t width = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
    for (std::size_t i = 1; i < width; ++i)
        if (i >= bytes.size() || (static_cast<unsigned char>(bytes[i]) & 0xC0U) != 0x80U)
            return 1;
    if (width < 3)
        return width;
    const unsigned start = lead * 256U + static_cast<unsigned char>(bytes[1]); // 3 or 4 bytes: no gaps
    return start < 0xE0A0 || (start >= 0xEDA0 && start < 0xEE00) || (start >= 0xF000 && start < 0xF090) ||
                   start >= 0xF490
               ? 1
               : width;
}

Characters charactersOf(const String& text) {
    Characters characters;
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(characters.back().size()))
        characters.emplace_back(rest.substr(0, text.encoding() == TextEncoding::utf8 ? widthOf(rest) : 1));
    return characters;
}

std::string joined(const Characters& characters, std::size_t from, Integer count) {
    std::string text;
    for (std::size_t i = from; i < characters.size() && count > 0; ++i, --count)
        text += characters[i];
    return text;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& letter : result)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return result;
}

std::vector<std::string> fieldsOf(const String& text, const String& separator) {
    std::vector<std::string> fields;
    if (text.empty())
        return fields;
    const std::string haystack = lowered(text);
    std::size_t begin = 0;
    for (std::size_t end = 0; !separator.empty(); begin = end + separator.size()) {
        end = haystack.find(lowered(separator), begin);
        if (end == std::string::npos)
            break;
        fields.emplace_back(text.view().substr(begin, end - begin));
    }
    fields.emplace_back(text.view().substr(begin));
    return fields;
}

void checkCuts(const String& text, Integer start, Integer count) {
    constexpr Integer kAll = std::numeric_limits<Integer>::max();
    const Characters characters = charactersOf(text);
    const auto total = static_cast<Integer>(characters.size());
    const auto from = static_cast<std::size_t>(std::clamp<Integer>(start, 1, total + 1) - 1);
    const Integer kept = std::clamp<Integer>(count, 0, total);
    require(Len(text) == total, "Len");
    require(Left(text, count).view() == joined(characters, 0, count), "Left");
    require(Right(text, count).view() == joined(characters, static_cast<std::size_t>(total - kept), kAll),
            "Right");
    require(Mid(text, start).view() == joined(characters, from, kAll), "Mid");
    require(Mid(text, start, count).view() == joined(characters, from, count), "Mid with a count");
    const String bytes = DefineEncoding(text, TextEncoding::none);
    require(LeftB(text, count).view() == Left(bytes, count).view() &&
                RightB(text, count).view() == Right(bytes, count).view() &&
                MidB(text, start).view() == Mid(bytes, start).view() &&
                MidB(text, start, count).view() == Mid(bytes, start, count).view(),
            "the forms by bytes cut as those by characters do without a tag");
    require(Trim(text).view() == withoutBlanks(text), "Trim");
}

void checkFields(const String& text, const String& separator, const String& replacement) {
    const auto fields = fieldsOf(text, separator);
    const Array<String> split = Split(text, separator);
    require(CountFields(text, separator) == static_cast<Integer>(fields.size()), "CountFields");
    std::string replaced;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        require(split[static_cast<Integer>(i)].view() == fields[i], "Split");
        require(NthField(text, separator, static_cast<Integer>(i) + 1).view() == fields[i], "NthField");
        replaced.append(i > 0 ? replacement.view() : "").append(fields[i]);
    }
    require(NthField(text, separator, static_cast<Integer>(fields.size()) + 1).empty(), "no further field");
    require(ReplaceAll(text, separator, replacement).view() == replaced, "ReplaceAll");
    require(Join(split, replacement).view() == replaced, "Join");
    require(RuntimeStringCompare(Join(split, separator), text), "Split and Join");
}

void checkSearch(const String& text, const String& find, Integer start) {
    const Characters characters = charactersOf(text);
    const auto before = std::clamp<Integer>(start, 1, static_cast<Integer>(characters.size()) + 1) - 1;
    const std::size_t found = lowered(text).find(lowered(find), joined(characters, 0, before).size());
    const bool none = found == std::string::npos;
    require(InStr(start, text, find) == (none ? 0 : Len(text.cut(0, found)) + 1), "InStr");
    const std::size_t byte =
        text.view().find(find.view(), static_cast<std::size_t>(std::max<Integer>(start, 1) - 1));
    require(InStrB(start, text, find) == static_cast<Integer>(byte + 1), "InStrB");
    const String small(lowered(text));
    require(text == small && hashIgnoringCase(text) == hashIgnoringCase(small), "the case of a text");
    require((text == find) == (lowered(text) == lowered(find)), "equality");
}

void checkEncodings(const String& text) {
    const String latin = DefineEncoding(text, Encodings::ISOLatin1);
    const String wide = ConvertEncoding(latin, Encodings::UTF8);
    require(Len(wide) == LenB(latin), "every byte of Latin 1 is a character");
    require(ConvertEncoding(wide, Encodings::ISOLatin1).view() == text.view(), "Latin 1 goes there and back");
    for (const TextEncoding each : {Encodings::UTF8, Encodings::ISOLatin1, Encodings::ASCII})
        require(Len(ConvertEncoding(text, each)) == Len(text), "a conversion keeps the characters");
}

void checkCharacters(Reader input) {
    const unsigned tags = input.byte();
    const Integer start = input.number();
    const Integer count = input.number();
    const String text(input.field(), static_cast<TextEncoding>(tags % 4));
    const String find(input.field(), static_cast<TextEncoding>(tags / 4 % 4));
    const String replacement(input.field(), static_cast<TextEncoding>(tags / 16 % 4));
    checkCuts(text, start, count);
    checkFields(text, find, replacement);
    checkSearch(text, find, start);
    checkEncodings(text);
}

// One of the strings, and what it must hold.
struct Text {
    String text;
    std::string model;
};

void append(Text& target, std::string_view bytes) {
    target.model += std::string(bytes);
    target.text.append(bytes);
}

void replace(Text& target, std::size_t offset, std::string_view bytes) {
    offset = std::min(offset, target.model.size());
    bytes = bytes.substr(0, target.model.size() - offset);
    target.model.replace(offset, bytes.size(), std::string(bytes));
    target.text.replaceBytes(offset, bytes);
}

void operate(unsigned kind, Text& target, const Text& other, std::size_t offset, std::size_t count) {
    const std::string fresh(count, static_cast<char>('a' + offset % 26));
    const std::string cut = other.model.substr(std::min(offset, other.model.size()), count);
    switch (kind % 12) {
    case 0: target = {String(fresh, static_cast<TextEncoding>(offset % 4)), fresh}; break;
    case 1: append(target, fresh); break;
    case 2: append(target, other.text); break;
    case 3: target = {target.text + other.text, target.model + other.model}; break;
    case 4: target = {other.text.cut(offset, count), cut}; break;
    case 5:
        target.text.removeFront(offset);
        target.model.erase(0, offset);
        break;
    case 6: replace(target, offset, fresh); break;
    case 7: replace(target, offset, other.text); break;
    case 8: target.text.reserve(4 * offset); break;
    case 9: target.text.compact(); break;
    case 10: target = Text(other); break;
    default: target.text += other.text; target.model += std::string(other.model);
    }
}

// Strings that share, cut, grow and change their bytes, against strings that don't share.
void checkSharedStrings(Reader input) {
    constexpr std::size_t kLongest = 4096;
    std::array<Text, 4> texts;
    while (!input.done()) {
        const unsigned kind = input.byte();
        const unsigned places = input.byte();
        Text& target = texts[places % 4];
        const unsigned offset = input.byte();
        operate(kind, target, texts[places / 4 % 4], offset, input.byte());
        if (target.model.size() > kLongest)
            target = {};
        for (const Text& each : texts)
            require(each.text.view() == each.model, "a string is what was done to it alone");
    }
}

void run(Reader input) {
    switch (input.byte()) {
    case 'n': checkNumberText(input); break;
    case 'd': checkDouble(input); break;
    case 'c': checkCharacters(input); break;
    case 's': checkSharedStrings(input); break;
    case 'b': checkBase64(input); break;
    default: break;
    }
}

} // namespace

} // namespace hearthix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using hearthix::fuzz::Reader;
    hearthix::fuzz::run(Reader(std::string_view(reinterpret_cast<const char*>(data), size)));
    return 0;
}
