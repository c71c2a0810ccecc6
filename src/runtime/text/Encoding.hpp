// Encoding tags of strings. A string without a tag is plain bytes; its characters are its bytes.
#pragma once

#include <cstdint>

namespace hearthix {

class String;

enum class TextEncoding : std::uint8_t { none = 0, utf8 = 1, latin1 = 2, ascii = 3 };

namespace Encodings {
inline constexpr TextEncoding UTF8 = TextEncoding::utf8;
inline constexpr TextEncoding ISOLatin1 = TextEncoding::latin1;
inline constexpr TextEncoding ASCII = TextEncoding::ascii;
} // namespace Encodings

// The tag of a string; TextEncoding::none when it has none.
TextEncoding Encoding(const String& text);
// The same bytes with another tag. Bytes are neither changed nor checked.
String DefineEncoding(const String& text, TextEncoding encoding);
// The same characters in another encoding. Untagged text is taken for ISO Latin 1, which gives every byte a
// character; a character that the target lacks becomes a question mark.
String ConvertEncoding(const String& text, TextEncoding encoding);

} // namespace hearthix
