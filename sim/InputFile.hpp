// Files that the stand-ins are given to read.
#pragma once

#include "runtime/text/String.hpp"

#include <optional>
#include <string>

namespace hearthix::sim {

// All of a file, or of a pipe; nothing when it can't be read.
std::optional<std::string> contentOf(const String& path);

} // namespace hearthix::sim
