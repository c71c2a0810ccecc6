// How this process keeps the memory that it no longer needs.
#pragma once

namespace hearthix {

// Hands what large buffers took back to the system as soon as they go. Left to itself, the GNU heap adapts to
// the largest buffer that a process ever freed and keeps as much for good: after a peer has once stood still
// for a minute, a process of 4 MiB would stay at 40 for years. To be called before any large allocation.
void keepHeapSmall();

} // namespace hearthix
