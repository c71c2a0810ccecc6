#include "runtime/values/Exceptions.hpp"

#include "runtime/core/Object.hpp"
#include "runtime/values/StackTrace.hpp"

namespace hearthix {

RuntimeException::RuntimeException() : frameCount_(captureStack(frames_)) {
}

RuntimeException::RuntimeException(const String& message)
    : Message(message), frameCount_(captureStack(frames_)) {
}

Array<String> RuntimeException::Stack() const {
    Array<String> lines;
    // The first two frames are the capture and the exception's own constructor.
    constexpr std::size_t kOwnFrames = 2;
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
