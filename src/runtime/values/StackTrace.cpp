#include "runtime/values/StackTrace.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

namespace hearthix {

namespace {

struct FreeMemory {
    void operator()(char* text) const { std::free(text); }
};

std::string_view withOffset(const char* name, const void* address, const void* start, std::span<char> room) {
    const auto offset = reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(start);
    const int size =
        std::snprintf(room.data(), room.size(), "%s + 0x%zx", name, static_cast<std::size_t>(offset));
    return {room.data(), std::min(static_cast<std::size_t>(std::max(size, 0)), room.size() - 1)};
}

std::array<void*, 64> callsWithoutMemory;
std::size_t callsCount = 0;

} // namespace

std::size_t captureStack(std::span<void*> frames) {
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::string_view describeFrame(void* address, std::span<char> room) {
    // A return address may already belong to the next function; the call itself stands just before it.
    const void* call = static_cast<const char*>(address) - 1;
    Dl_info info{};
    if (dladdr(call, &info) == 0)
        return withOffset("unknown", address, nullptr, room);
    if (info.dli_sname == nullptr)
        return withOffset(info.dli_fname != nullptr ? info.dli_fname : "unknown", address, info.dli_fbase,
                          room);
    int status = 0;
    const std::unique_ptr<char, FreeMemory> readable(
        abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status));
    return withOffset(readable ? readable.get() : info.dli_sname, address, info.dli_saddr, room);
}

void noteOutOfMemory() {
    callsCount = captureStack(callsWithoutMemory);
    throw std::bad_alloc();
}

std::span<void* const> callsOutOfMemory() {
    return std::span(callsWithoutMemory).first(callsCount);
}

} // namespace hearthix
