// Checks whether bytes are a sound document, and finds the first fault.
//
// The reader of documents tolerates faults: it skips junk and ends silently where the bytes end. Replacing a
// file safely needs a strict check instead: a document is sound if that reader skips and guesses no byte. So
// capitals in the magic, older versions and a repeated key (the later value counts) are sound, and bytes
// between the entries are not.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace hearthix {

// The first fault.
struct KbdbFault {
    std::size_t offset; // in bytes from the start
    std::string reason; // a clause
    std::string remedy; // a sentence
};

// The contents of a document, all levels together.
struct KbdbCensus {
    std::size_t documents = 0;
    std::size_t values = 0;
    std::size_t deepest = 0; // 1 for a root without children
};

// Reads all bytes, at any depth of nesting, without allocating memory. The census counts what precedes the
// fault.
std::optional<KbdbFault> findKbdbFault(std::string_view bytes, KbdbCensus& census);

// Two hexadecimal digits.
std::string hexByte(char byte);

} // namespace hearthix
