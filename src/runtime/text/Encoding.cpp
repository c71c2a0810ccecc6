#include "runtime/text/Encoding.hpp"

#include "runtime/text/StringFunctions.hpp"

namespace hearthix {

namespace {

// Decodes the character of a UTF-8 text that is a string of its own; U+FFFD for a broken one.
std::uint32_t codePoint(const String& character) {
    const std::string_view bytes = character.view();
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (bytes.size() == 1)
        return lead < 0x80U ? lead : 0xFFFDU;
    std::uint32_t point = lead & (0x7FU >> bytes.size());
    for (const char byte : bytes.substr(1))
        point = (point << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
    return point;
}

String fromUtf8(const String& text, TextEncoding encoding) {
    const std::uint32_t limit = encoding == TextEncoding::ascii ? 0x80U : 0x100U;
    String result(std::string_view(), encoding);
    String rest = text;
    while (!rest.empty()) {
        const String character = Left(rest, 1);
        const std::uint32_t point = codePoint(character);
        const char byte = point < limit ? static_cast<char>(static_cast<unsigned char>(point)) : '?';
        result.append(std::string_view(&byte, 1));
        rest = rest.cut(character.size());
    }
    return result;
}

String toUtf8(const String& text) {
    String result(std::string_view(), TextEncoding::utf8);
    for (const char byte : text.view())
        result.append(Chr(static_cast<unsigned char>(byte)));
    return result;
}

} // namespace

TextEncoding Encoding(const String& text) {
    return text.encoding();
}

String DefineEncoding(const String& text, TextEncoding encoding) {
    String result = text;
    result.setEncoding(encoding);
    return result;
}

String ConvertEncoding(const String& text, TextEncoding encoding) {
    if (text.encoding() == encoding || encoding == TextEncoding::none)
        return DefineEncoding(text, encoding);
    const String wide = text.encoding() == TextEncoding::utf8 ? text : toUtf8(text);
    return encoding == TextEncoding::utf8 ? wide : fromUtf8(wide, encoding);
}

} // namespace hearthix
