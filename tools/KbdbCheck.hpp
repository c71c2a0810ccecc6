// Whether bytes are a sound document, and where they break if they are not.
//
// The reader of documents is forgiving on purpose: it passes over junk and ends quietly where the bytes end.
// To replace a file safely takes the strict view instead: sound is what that reader takes in without
// passing over or guessing a single byte. So capitals in the magic, older versions and a key that stands
// twice (the later value counts) are sound, and bytes between the entries are not.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace hearthix {

// The first place at which the bytes are not sound.
struct KbdbFault {
    std::size_t offset; // in bytes from the start
    std::string reason; // what is wrong there, as half a sentence
    std::string remedy; // what to do about it, as a sentence
};

// What a document holds, all levels together.
struct KbdbCensus {
    std::size_t documents = 0;
    std::size_t values = 0;
    std::size_t deepest = 0; // 1 for a root without children
};

// Walks through all bytes, at any depth of nesting, without memory of its own. The census counts what was met
// before the fault.
std::optional<KbdbFault> findKbdbFault(std::string_view bytes, KbdbCensus& census);

// Two digits.
std::string hexByte(char byte);

} // namespace hearthix
