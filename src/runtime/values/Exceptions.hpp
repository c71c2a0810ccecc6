// The exceptions of the runtime. Each remembers the calls that were under way when it was made.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/text/String.hpp"

#include <array>
#include <cstddef>
#include <exception>

namespace hearthix {

class RuntimeException : public std::exception {
public:
    RuntimeException();
    explicit RuntimeException(const String& message);

    // The calls, innermost first, one readable line each: the function's name and the offset in it. Names are
    // looked up here and not when the exception is made, so that raising one stays cheap.
    virtual Array<String> Stack() const;
    // The class of the exception, for people.
    virtual const char* name() const noexcept { return "RuntimeException"; }
    const char* what() const noexcept override { return name(); }

    String Message;

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

} // namespace hearthix
