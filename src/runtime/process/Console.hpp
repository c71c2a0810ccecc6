// Standard output and standard error. Text that cannot be written, because the reader is gone, is discarded.
#pragma once

#include "runtime/text/String.hpp"

#include <string_view>

namespace hearthix {

// The platform's line end.
inline const String EndOfLine = "\n";

// Opens those of the three standard streams that are closed, so that no file or socket of the program gets
// their descriptors.
void openStandardStreams();

// Writes a text and a line end to standard output or standard error. Allocates no memory.
void Print(std::string_view text);
void PrintError(std::string_view text);

// Writes all bytes to a descriptor.
void writeAll(int descriptor, std::string_view bytes);

} // namespace hearthix
