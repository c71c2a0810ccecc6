// The calls under way, as addresses and as text. The only place that knows how the platform tells them.
#pragma once

#include "runtime/text/String.hpp"

#include <cstddef>
#include <span>

namespace hearthix {

// Fills in return addresses, innermost first, and returns their number.
std::size_t captureStack(std::span<void*> frames);
// "name + 0x1f", demangled where the program exports the symbol, else "module + 0x4d2f0".
String describeFrame(void* address);

} // namespace hearthix
