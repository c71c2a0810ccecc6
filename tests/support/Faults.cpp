// Preloaded into a driver: a system without free memory, and a name server that never answers.
//
// ALLOCATIONS is the number of allocations that still succeed, from the start or, with FROM_SIGNAL set, from
// SIGUSR1 on. SILENT_RESOLVER is a host whose look-up never returns.
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);

namespace {

std::atomic<long> left = -1; // negative: no limit

void startToCount(int) {
    left = std::atol(std::getenv("ALLOCATIONS"));
}

__attribute__((constructor)) void prepare() {
    if (std::getenv("FROM_SIGNAL") != nullptr)
        std::signal(SIGUSR1, startToCount);
    else if (std::getenv("ALLOCATIONS") != nullptr)
        startToCount(0);
}

[[maybe_unused]] bool hasMemory() {
    return left < 0 || (left > 0 && left-- > 0);
}

} // namespace

#ifndef HEARTHIX_SANITIZED // which has an allocator of its own
extern "C" void* malloc(std::size_t size) noexcept {
    return hasMemory() ? __libc_malloc(size) : nullptr;
}

extern "C" void* realloc(void* memory, std::size_t size) noexcept {
    return hasMemory() ? __libc_realloc(memory, size) : nullptr;
}
#endif

extern "C" int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** found) {
    const char* silent = std::getenv("SILENT_RESOLVER");
    while (silent != nullptr && std::strcmp(silent, host) == 0 && (hints->ai_flags & AI_NUMERICHOST) == 0)
        pause();
    return reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"))(host, service, hints,
                                                                                     found);
}
