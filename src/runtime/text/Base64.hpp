// Base64 (RFC 4648) with line breaks as in RFC 2045.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix {

// CR LF separates lines of lineLength characters. The last line has no line end. Length 0 makes one line.
String EncodeBase64(const String& bytes, Integer lineLength);
// Ignores characters outside of the alphabet, such as line ends. Padding ends the text.
String DecodeBase64(const String& text, TextEncoding encoding = TextEncoding::none);

} // namespace hearthix
