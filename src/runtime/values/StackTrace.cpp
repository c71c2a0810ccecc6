#include "runtime/values/StackTrace.hpp"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

namespace hearthix {

namespace {

struct FreeMemory {
    void operator()(char* text) const { std::free(text); }
};

String readableName(const char* symbol) {
    int status = 0;
    const std::unique_ptr<char, FreeMemory> demangled(abi::__cxa_demangle(symbol, nullptr, nullptr, &status));
    return status == 0 && demangled ? String(demangled.get()) : String(symbol);
}

String withOffset(const String& name, const void* address, const void* start) {
    const auto offset = reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(start);
    char text[32];
    static_cast<void>(std::snprintf(text, sizeof text, " + 0x%zx", static_cast<std::size_t>(offset)));
    return name + text;
}

} // namespace

std::size_t captureStack(std::span<void*> frames) {
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

String describeFrame(void* address) {
    // A return address may already belong to the next function; the call itself stands just before it.
    const void* call = static_cast<const char*>(address) - 1;
    Dl_info info{};
    if (dladdr(call, &info) == 0)
        return withOffset("unknown", address, nullptr);
    if (info.dli_sname != nullptr)
        return withOffset(readableName(info.dli_sname), address, info.dli_saddr);
    return withOffset(info.dli_fname != nullptr ? info.dli_fname : "unknown", address, info.dli_fbase);
}

} // namespace hearthix
