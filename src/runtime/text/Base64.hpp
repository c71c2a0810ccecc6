// Base64 (RFC 4648) with line breaks as in RFC 2045.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix {

// A CR LF goes between lines of lineLength characters, and none after the last; 0 makes one line.
String EncodeBase64(const String& bytes, Integer lineLength);
// Characters outside of the alphabet, line ends among them, are passed over; padding ends the text.
String DecodeBase64(const String& text, TextEncoding encoding = TextEncoding::none);

} // namespace hearthix
