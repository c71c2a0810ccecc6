#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <bit>

namespace hearthix {

namespace {

std::size_t clampCount(Integer count) {
    // A std::size_t may have 32 bits.
    return static_cast<std::size_t>(std::clamp<Integer>(count, 0, PTRDIFF_MAX));
}

// The number of bytes or characters before a position.
std::size_t countBefore(Integer position) {
    return clampCount(std::max<Integer>(position, 1) - 1);
}

constexpr char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
}

constexpr auto isEqualIgnoringCase = [](char left, char right) { return lowered(left) == lowered(right); };

// The length in bytes of the UTF-8 character at an offset; 1 for a byte that does not start a valid
// character.
std::size_t characterLength(std::string_view bytes, std::size_t offset) {
    const auto lead = static_cast<unsigned char>(bytes[offset]);
    const auto length = static_cast<std::size_t>(std::countl_one(lead));
    if (length < 2 || length > 4 || length > bytes.size() - offset)
        return 1;
    const std::string_view character = bytes.substr(offset, length);
    Integer point = lead & (0x7F >> length);
    for (const char byte : character.substr(1))
        point = (point << 6) | (static_cast<unsigned char>(byte) & 0x3F);
    // Also false for bytes that do not continue a character, for overlong forms and for surrogates.
    return Chr(point).view() == character ? length : 1;
}

bool hasWideCharacters(const String& text) {
    return text.encoding() == TextEncoding::utf8;
}

// The offset in bytes of the character with a number from 0 on; the size of the text if it is shorter.
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

// The offset of the first occurrence; npos if there is none. An empty text is found where the search starts.
std::size_t findIgnoringCase(std::string_view text, std::string_view find, std::size_t from) {
    const auto start = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto found = std::search(start, text.end(), find.begin(), find.end(), isEqualIgnoringCase);
    return found == text.end() && !find.empty() ? std::string_view::npos
                                                : static_cast<std::size_t>(found - text.begin());
}

// The offset of the separator after a field; npos for the last field. An empty separator yields one field.
std::size_t endOfField(std::string_view text, std::string_view separator, std::size_t begin) {
    return separator.empty() ? std::string_view::npos : findIgnoringCase(text, separator, begin);
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

String MidB(const String& text, Integer start, Integer count) {
    return text.cut(countBefore(start), clampCount(count));
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
    return text.cut(offsetOfCharacter(text, clampCount(length - std::clamp<Integer>(count, 0, length))));
}

String Mid(const String& text, Integer start, Integer count) {
    return Left(text.cut(offsetOfCharacter(text, countBefore(start))), count);
}

String Chr(Integer code) {
    if (code < 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return {};
    const auto point = static_cast<unsigned>(code);
    // The number of bytes after the first.
    const unsigned tail = point < 0x80U ? 0 : point < 0x800U ? 1 : point < 0x10000U ? 2 : 3;
    char bytes[4];
    bytes[0] = static_cast<char>(tail == 0 ? point : (0xF0U << (3U - tail)) | (point >> (6U * tail)));
    for (unsigned i = 1; i <= tail; ++i)
        bytes[i] = static_cast<char>(0x80U | ((point >> (6U * (tail - i))) & 0x3FU));
    return String(std::string_view(bytes, tail + 1), TextEncoding::utf8);
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
    const std::size_t from = offsetOfCharacter(text, countBefore(start));
    const std::size_t found = findIgnoringCase(text, find, from);
    if (found == std::string_view::npos)
        return 0;
    return hasWideCharacters(text) ? Len(text.cut(0, found)) + 1 : static_cast<Integer>(found) + 1;
}

Integer InStrB(Integer start, const String& text, const String& find) {
    const std::size_t found = text.view().find(find.view(), countBefore(start));
    return found == std::string_view::npos ? 0 : static_cast<Integer>(found) + 1;
}

String NthField(const String& text, const String& separator, Integer index) {
    std::size_t begin = 0;
    std::size_t end = endOfField(text, separator, begin);
    for (; index > 1 && end != std::string_view::npos; --index) {
        begin = end + separator.size();
        end = endOfField(text, separator, begin);
    }
    return index == 1 ? text.cut(begin, end - begin) : String();
}

Integer CountFields(const String& text, const String& separator) {
    return Split(text, separator).Ubound() + 1;
}

Array<String> Split(const String& text, const String& separator) {
    Array<String> fields;
    if (text.empty())
        return fields;
    std::size_t begin = 0;
    std::size_t end = 0;
    while ((end = endOfField(text, separator, begin)) != std::string_view::npos) {
        fields.Append(text.cut(begin, end - begin));
        begin = end + separator.size();
    }
    fields.Append(text.cut(begin));
    return fields;
}

String Join(const Array<String>& parts, const String& separator) {
    String joined;
    for (std::int64_t i = 0; i <= parts.Ubound(); ++i) {
        if (i > 0)
            joined += separator;
        joined += parts[i];
    }
    return joined;
}

String ReplaceAll(const String& text, const String& old, const String& replacement) {
    return DefineEncoding(Join(Split(text, old), replacement), text.encoding());
}

bool RuntimeStringCompare(std::string_view left, std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), isEqualIgnoringCase);
}

bool isLessIgnoringCase(std::string_view left, std::string_view right) noexcept {
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                        [](char a, char b) { return lowered(a) < lowered(b); });
}

} // namespace hearthix
