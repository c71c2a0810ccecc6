#include "runtime/values/Exceptions.hpp"

#include "runtime/core/Object.hpp"
#include "runtime/text/Numbers.hpp"

#include <cstdlib>
#include <memory>

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

namespace hearthix {

namespace {

String describeFrame(void* address) {
    // The return address may already belong to the next function. The call itself is just before it.
    const void* call = static_cast<const char*>(address) - 1;
    Dl_info info{};
    const bool isKnown = dladdr(call, &info) != 0;
    const char* name = info.dli_sname != nullptr ? info.dli_sname : info.dli_fname;
    const void* start = info.dli_sname != nullptr ? info.dli_saddr : info.dli_fbase;
    if (!isKnown || name == nullptr)
        return "unknown";
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(name, nullptr, nullptr, nullptr), &std::free);
    const auto offset = static_cast<const char*>(address) - static_cast<const char*>(start);
    return concat(readable ? readable.get() : name, " + 0x", Hex(offset));
}

} // namespace

RuntimeException::RuntimeException(const String& message)
    : Message(message),
      frameCount_(static_cast<std::size_t>(backtrace(frames_.data(), static_cast<int>(frames_.size())))) {
}

Array<String> RuntimeException::Stack() const {
    constexpr std::size_t kOwnFrames = 1; // the constructor of the exception
    Array<String> lines;
    for (std::size_t i = kOwnFrames; i < frameCount_; ++i)
        lines.Append(describeFrame(frames_[i]));
    return lines;
}

void raiseNilObject() {
    throw NilObjectException();
}

void raiseOutOfBounds() {
    throw OutOfBoundsException();
}

} // namespace hearthix
