// The exceptions of the runtime. Each remembers the calls that were under way when it was made.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/text/String.hpp"

#include <array>
#include <cstddef>
#include <exception>
#include <functional>
#include <span>
#include <string_view>

namespace hearthix {

class RuntimeException : public std::exception {
public:
    RuntimeException();
    explicit RuntimeException(const String& message);

    // The calls, innermost first, one readable line each: the function's name and the offset in it. Names are
    // looked up here and not when the exception is made, so that raising one stays cheap.
    Array<String> Stack() const;
    // The same, line by line, each for as long as the call of tell lasts. Takes no memory of the heap.
    void tellStack(const std::function<void(std::string_view line)>& tell) const;
    // The class of the exception, for people.
    virtual const char* name() const noexcept { return "RuntimeException"; }
    const char* what() const noexcept override { return name(); }

    String Message;

protected:
    explicit RuntimeException(std::span<void* const> calls);

private:
    static constexpr std::size_t kMostFrames = 64;
    std::array<void*, kMostFrames> frames_{};
    std::size_t frameCount_ = 0;
};

class NilObjectException : public RuntimeException {
public:
    using RuntimeException::RuntimeException;
    const char* name() const noexcept override { return "NilObjectException"; }
};

class OutOfBoundsException : public RuntimeException {
public:
    using RuntimeException::RuntimeException;
    const char* name() const noexcept override { return "OutOfBoundsException"; }
};

class KeyNotFoundException : public RuntimeException {
public:
    using RuntimeException::RuntimeException;
    const char* name() const noexcept override { return "KeyNotFoundException"; }
};

// Stands for std::bad_alloc where the process tells of its end: its calls are those that found no memory.
class OutOfMemoryException : public RuntimeException {
public:
    OutOfMemoryException();
    const char* name() const noexcept override { return "OutOfMemoryException"; }
};

} // namespace hearthix
