#include "runtime/process/Heap.hpp"

#include <cstdlib> // defines __GLIBC__

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace hearthix {

void keepHeapSmall() {
#ifdef __GLIBC__
    // Setting either one also ends the adaptation. What everyday traffic needs stays below them.
    constexpr int kMebibyte = 1024 * 1024;
    mallopt(M_MMAP_THRESHOLD, kMebibyte);
    mallopt(M_TRIM_THRESHOLD, kMebibyte);
#endif
}

} // namespace hearthix
