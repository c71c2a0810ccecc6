// Preloaded into a driver: a system without free memory, a name server that never answers, and a slow line.
//
// ALLOCATIONS is the number of allocations that still succeed, from the start or, with FROM_SIGNAL set, from
// SIGUSR1 on. SILENT_RESOLVER is a host whose look-up never returns. With SLOW_LINE set, the driver's
// terminal is a serial line at 115200 baud. A pseudo-terminal accepts everything at once; this one buffers 4
// KiB, sends 11,520 bytes a second and reports what it has not yet sent.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <dlfcn.h>
#include <netdb.h>
#include <sys/ioctl.h>
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

constexpr long kByteTime = 1'000'000'000 / 11'520;
constexpr long kBuffer = 4096;

long idleAt = 0;

long now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

long queued() {
    return std::max(0L, idleAt - now() + kByteTime - 1) / kByteTime;
}

bool isSlow(int descriptor) {
    static const bool isEnabled = std::getenv("SLOW_LINE") != nullptr;
    return isEnabled && descriptor > STDERR_FILENO && isatty(descriptor) == 1;
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
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
    return next<decltype(getaddrinfo)>("getaddrinfo")(host, service, hints, found);
}

extern "C" ssize_t write(int descriptor, const void* bytes, std::size_t count) {
    static auto* const real = next<ssize_t(int, const void*, std::size_t)>("write");
    if (!isSlow(descriptor))
        return real(descriptor, bytes, count);
    const long space = kBuffer - queued();
    if (space <= 0) {
        errno = EAGAIN;
        return -1;
    }
    const ssize_t written = real(descriptor, bytes, std::min(count, static_cast<std::size_t>(space)));
    if (written > 0)
        idleAt = std::max(idleAt, now()) + written * kByteTime;
    return written;
}

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
    static auto* const real = next<int(int, unsigned long, void*)>("ioctl");
    std::va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const int result = real(descriptor, request, argument);
    if (request == TIOCOUTQ && isSlow(descriptor))
        *static_cast<int*>(argument) = static_cast<int>(queued());
    return result;
}
