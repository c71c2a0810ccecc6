// Encoding tags of strings. A string without a tag is plain bytes: each byte is a character.
#pragma once

#include <cstdint>

namespace hearthix {

class String;

enum class TextEncoding : std::uint8_t { none, utf8, latin1 };

namespace Encodings {
inline constexpr TextEncoding UTF8 = TextEncoding::utf8;
} // namespace Encodings

// The tag of a string; TextEncoding::none if it has no tag.
TextEncoding Encoding(const String& text);
// The same bytes with another tag. The bytes are neither changed nor checked.
String DefineEncoding(const String& text, TextEncoding encoding);
// The same characters in UTF-8. Untagged text is read as ISO Latin 1, where every byte is a character. No
// other target is supported: for those, the function only changes the tag.
String ConvertEncoding(const String& text, TextEncoding encoding);

} // namespace hearthix
