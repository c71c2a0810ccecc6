// Standard output. Text that cannot be written is lost; the caller checks for that at the end.
#pragma once

#include <string_view>

namespace hearthix::sim {

// Writes a line; the line end is added.
void putLine(std::string_view text);
// The error number of the first write that failed, 0 if none has.
int outputLoss();

} // namespace hearthix::sim
