#include "runtime/values/Exceptions.hpp"

#include "runtime/core/Object.hpp"
#include "runtime/values/StackTrace.hpp"

#include <algorithm>

namespace hearthix {

RuntimeException::RuntimeException() : frameCount_(captureStack(frames_)) {
}

RuntimeException::RuntimeException(const String& message)
    : Message(message), frameCount_(captureStack(frames_)) {
}

RuntimeException::RuntimeException(std::span<void* const> calls)
    : frameCount_(std::min(calls.size(), frames_.size())) {
    std::copy_n(calls.begin(), frameCount_, frames_.begin());
}

Array<String> RuntimeException::Stack() const {
    Array<String> lines;
    tellStack([&lines](std::string_view line) { lines.Append(String(line)); });
    return lines;
}

void RuntimeException::tellStack(const std::function<void(std::string_view line)>& tell) const {
    // The first two frames are the capture and the exception's own constructor, or operator new.
    constexpr std::size_t kOwnFrames = 2;
    std::array<char, 1024> room{};
    for (std::size_t i = kOwnFrames; i < frameCount_; ++i)
        tell(describeFrame(frames_[i], room));
}

OutOfMemoryException::OutOfMemoryException() : RuntimeException(callsOutOfMemory()) {
}

void raiseNilObject() {
    throw NilObjectException();
}

void raiseOutOfBounds() {
    throw OutOfBoundsException();
}

} // namespace hearthix
