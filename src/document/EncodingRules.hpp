// How keys and values become UTF-8.
#pragma once

#include "runtime/text/Encoding.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

// For a key used to look up: converts all that isn't UTF-8, untagged text too.
inline String keyForReading(const String& key) {
    return key.encoding() == Encodings::UTF8 ? key : ConvertEncoding(key, Encodings::UTF8);
}

// For a key or value about to be stored: untagged bytes are taken to be UTF-8 already.
inline String textForStoring(const String& text) {
    if (text.encoding() == TextEncoding::none)
        return DefineEncoding(text, Encodings::UTF8);
    return keyForReading(text);
}

} // namespace hearthix
