// Standard output and standard error. A reader that has gone away is no error: what is printed is lost then.
#pragma once

#include "runtime/text/String.hpp"

#include <initializer_list>
#include <string_view>

namespace hearthix {

// The platform's line end.
inline const String EndOfLine = "\n";

// Opens what the starter of the process has left closed of the three standard streams, so that no file or
// socket of the program takes such a place.
void openStandardStreams();

// The parts of a text, one after the other, and a line end, to standard output. Takes no memory.
void Print(std::initializer_list<std::string_view> parts);
inline void Print(std::string_view text) {
    Print({text});
}
// The same to standard error.
void PrintError(std::initializer_list<std::string_view> parts);
inline void PrintError(std::string_view text) {
    PrintError({text});
}

// Writes bytes to a descriptor as they stand.
void writeAll(int descriptor, std::string_view bytes);

} // namespace hearthix
