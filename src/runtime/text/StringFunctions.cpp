#include "runtime/text/StringFunctions.hpp"

#include <algorithm>

namespace hearthix {

namespace {

std::size_t clampCount(Integer count) {
    const auto wide = static_cast<std::uint64_t>(std::max<Integer>(count, 0));
    return static_cast<std::size_t>(std::min<std::uint64_t>(wide, SIZE_MAX)); // which has 32 bits in places
}

constexpr char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
}

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0U) == 0x80U;
}

// Overlong forms, surrogates, and what lies beyond the last code point: the second byte tells.
bool isForbiddenStart(unsigned lead, unsigned second) {
    return (lead == 0xE0U && second < 0xA0U) || (lead == 0xEDU && second > 0x9FU) ||
           (lead == 0xF0U && second < 0x90U) || (lead == 0xF4U && second > 0x8FU);
}

// Length in bytes of the UTF-8 character at an offset; 1 for a byte that starts no whole character.
std::size_t characterLength(std::string_view bytes, std::size_t offset) {
    const auto lead = static_cast<unsigned char>(bytes[offset]);
    std::size_t length = 1;
    if (lead >= 0xF0U && lead <= 0xF4U)
        length = 4;
    else if (lead >= 0xE0U)
        length = 3;
    else if (lead >= 0xC2U)
        length = 2;
    if (lead > 0xF4U || length > bytes.size() - offset)
        return 1;
    for (std::size_t i = 1; i < length; ++i)
        if (!isContinuation(static_cast<unsigned char>(bytes[offset + i])))
            return 1;
    return length > 2 && isForbiddenStart(lead, static_cast<unsigned char>(bytes[offset + 1])) ? 1 : length;
}

bool hasWideCharacters(const String& text) {
    return text.encoding() == TextEncoding::utf8;
}

// Byte offset of the character with a zero-based number, or the size of the text when it is shorter.
std::size_t offsetOfCharacter(const String& text, std::size_t number) {
    const std::string_view bytes = text.view();
    if (!hasWideCharacters(text))
        return std::min(number, bytes.size());
    std::size_t offset = 0;
    while (number > 0 && offset < bytes.size()) {
        offset += characterLength(bytes, offset);
        --number;
    }
    return offset;
}

std::size_t findIgnoringCase(std::string_view text, std::string_view find, std::size_t from) {
    const auto found = std::search(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), find.begin(),
                                   find.end(), [](char a, char b) { return lowered(a) == lowered(b); });
    return found == text.end() && !find.empty() ? std::string_view::npos
                                                : static_cast<std::size_t>(found - text.begin());
}

} // namespace

Integer LenB(const String& text) {
    return static_cast<Integer>(text.size());
}

String LeftB(const String& text, Integer count) {
    return text.cut(0, clampCount(count));
}

String RightB(const String& text, Integer count) {
    const std::size_t kept = std::min(clampCount(count), text.size());
    return text.cut(text.size() - kept);
}

String MidB(const String& text, Integer start) {
    return text.cut(clampCount(start - (start > 0)));
}

String MidB(const String& text, Integer start, Integer count) {
    return text.cut(clampCount(start - (start > 0)), clampCount(count));
}

Integer AscB(const String& text) {
    return text.byteAt(0);
}

String ChrB(Integer value) {
    const char byte = static_cast<char>(static_cast<unsigned char>(value & 0xFF));
    return String(std::string_view(&byte, 1));
}

Integer Len(const String& text) {
    if (!hasWideCharacters(text))
        return LenB(text);
    const std::string_view bytes = text.view();
    Integer count = 0;
    for (std::size_t offset = 0; offset < bytes.size(); offset += characterLength(bytes, offset))
        ++count;
    return count;
}

String Left(const String& text, Integer count) {
    return text.cut(0, offsetOfCharacter(text, clampCount(count)));
}

String Right(const String& text, Integer count) {
    const Integer length = Len(text);
    return text.cut(
        offsetOfCharacter(text, clampCount(length - std::min(length, std::max<Integer>(count, 0)))));
}

String Mid(const String& text, Integer start) {
    return text.cut(offsetOfCharacter(text, clampCount(start - (start > 0))));
}

String Mid(const String& text, Integer start, Integer count) {
    return Left(Mid(text, start), count);
}

String Chr(Integer code) {
    if (code < 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return {};
    const auto point = static_cast<unsigned>(code);
    char bytes[4];
    std::size_t length = 0;
    const auto tail = [&](unsigned shift) { return static_cast<char>(0x80U | ((point >> shift) & 0x3FU)); };
    if (point < 0x80U) {
        bytes[length++] = static_cast<char>(point);
    } else if (point < 0x800U) {
        bytes[length++] = static_cast<char>(0xC0U | (point >> 6U));
        bytes[length++] = tail(0);
    } else if (point < 0x10000U) {
        bytes[length++] = static_cast<char>(0xE0U | (point >> 12U));
        bytes[length++] = tail(6);
        bytes[length++] = tail(0);
    } else {
        bytes[length++] = static_cast<char>(0xF0U | (point >> 18U));
        bytes[length++] = tail(12);
        bytes[length++] = tail(6);
        bytes[length++] = tail(0);
    }
    return String(std::string_view(bytes, length), TextEncoding::utf8);
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isWhiteSpace(text.back()))
        text.remove_suffix(1);
    while (!text.empty() && isWhiteSpace(text.front()))
        text.remove_prefix(1);
    return text;
}

String Trim(const String& text) {
    return text.part(trimmed(text));
}

Integer InStr(Integer start, const String& text, const String& find) {
    const std::size_t from = offsetOfCharacter(text, clampCount(start - (start > 0)));
    const std::size_t found = findIgnoringCase(text, find, from);
    if (found == std::string_view::npos)
        return 0;
    return hasWideCharacters(text) ? Len(text.cut(0, found)) + 1 : static_cast<Integer>(found) + 1;
}

Integer InStrB(Integer start, const String& text, const String& find) {
    const std::size_t found = text.view().find(find.view(), clampCount(start - (start > 0)));
    return found == std::string_view::npos ? 0 : static_cast<Integer>(found) + 1;
}

String NthField(const String& text, const String& separator, Integer index) {
    if (index < 1)
        return {};
    std::size_t begin = 0;
    while (true) {
        const std::size_t end =
            separator.empty() ? std::string_view::npos : findIgnoringCase(text, separator, begin);
        if (--index == 0)
            return text.cut(begin, end == std::string_view::npos ? SIZE_MAX : end - begin);
        if (end == std::string_view::npos)
            return {};
        begin = end + separator.size();
    }
}

Integer CountFields(const String& text, const String& separator) {
    return Split(text, separator).Ubound() + 1;
}

Array<String> Split(const String& text, const String& separator) {
    Array<String> fields;
    if (text.empty())
        return fields;
    std::size_t begin = 0;
    while (true) {
        const std::size_t end =
            separator.empty() ? std::string_view::npos : findIgnoringCase(text, separator, begin);
        if (end == std::string_view::npos)
            break;
        fields.Append(text.cut(begin, end - begin));
        begin = end + separator.size();
    }
    fields.Append(text.cut(begin));
    return fields;
}

String Join(const Array<String>& parts, const String& separator) {
    String joined;
    bool first = true;
    for (const String& part : parts) {
        if (!first)
            joined += separator;
        first = false;
        joined += part;
    }
    return joined;
}

String ReplaceAll(const String& text, const String& old, const String& replacement) {
    if (old.empty())
        return text;
    String result(std::string_view(), text.encoding());
    std::size_t begin = 0;
    while (true) {
        const std::size_t end = findIgnoringCase(text, old, begin);
        if (end == std::string_view::npos)
            break;
        result.append(text.view().substr(begin, end - begin));
        result.append(replacement);
        begin = end + old.size();
    }
    result.append(text.view().substr(begin));
    return result;
}

bool RuntimeStringCompare(std::string_view left, std::string_view right) noexcept {
    return left == right || std::equal(left.begin(), left.end(), right.begin(), right.end(),
                                       [](char a, char b) { return lowered(a) == lowered(b); });
}

} // namespace hearthix
