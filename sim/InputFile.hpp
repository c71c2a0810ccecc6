// Files that are named on the command line.
#pragma once

#include "runtime/text/String.hpp"

#include <string>

namespace hearthix::sim {

// The content of a regular file of at most 64 MiB; raises Failure for any other. The option is for the
// message.
std::string contentOf(const String& path, const char* option);
// Raises Failure unless there is such a file.
void requireRegularFile(const String& path, const char* option);

} // namespace hearthix::sim
