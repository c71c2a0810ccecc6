// The two rules that make keys and values UTF-8.
#pragma once

#include "runtime/text/Encoding.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

// For a key to look up: converts everything that is not UTF-8, untagged text included.
inline String keyForReading(const String& key) {
    return key.encoding() == Encodings::UTF8 ? key : ConvertEncoding(key, Encodings::UTF8);
}

// For a key or value to store: untagged bytes are assumed to be UTF-8.
inline String textForStoring(const String& text) {
    if (text.encoding() == TextEncoding::none)
        return DefineEncoding(text, Encodings::UTF8);
    return keyForReading(text);
}

} // namespace hearthix
