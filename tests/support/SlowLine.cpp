// Preloaded into a driver with SLOW_LINE set: its terminal is a serial line at 115200 baud.
//
// A pseudo-terminal accepts everything at once. Here the terminal buffers 4 KiB, sends 11,520 bytes a second
// and reports what it has not yet sent.
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <ctime>

#include <dlfcn.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

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
