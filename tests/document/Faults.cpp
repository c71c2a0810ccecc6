#include "tests/document/Faults.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>

#include <sys/syscall.h>
#include <unistd.h>

namespace faults = hearthix::testing::faults;

// The program's own definitions come ahead of the C library's.
extern "C" int fsync(int descriptor) {
    faults::calls += "sync ";
    errno = EIO;
    return faults::failSync ? -1 : static_cast<int>(syscall(SYS_fsync, descriptor));
}

extern "C" int renameat2(int from, const char* old, int to, const char* fresh, unsigned flags) noexcept {
    faults::calls += "exchange ";
    errno = EINVAL;
    return faults::failExchange ? -1 : static_cast<int>(syscall(SYS_renameat2, from, old, to, fresh, flags));
}

void* operator new(std::size_t size) {
    faults::largestAllocation = std::max(faults::largestAllocation, size);
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
