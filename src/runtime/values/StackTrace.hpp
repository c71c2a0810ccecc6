// The calls under way, as addresses and as text. The only place that knows how the platform tells them.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace hearthix {

// Fills in return addresses, innermost first, and returns their number.
std::size_t captureStack(std::span<void*> frames);
// "name + 0x1f", demangled where the program exports the symbol, else "path + 0x4d2f0", where the path
// is that of the program or library; cut to the room that there is. Does without memory of the heap where
// that has run out, names then stay mangled.
std::string_view describeFrame(void* address, std::span<char> room);

// What operator new is to call when there is no memory: notes the calls under way, for the report at the
// end of the process, and raises std::bad_alloc.
void noteOutOfMemory();
std::span<void* const> callsOutOfMemory();

} // namespace hearthix
