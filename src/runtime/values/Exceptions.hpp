// The exceptions of the runtime. Each one records the function calls that led to its construction.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/text/String.hpp"

#include <array>
#include <cstddef>
#include <exception>

namespace hearthix {

class RuntimeException : public std::exception {
public:
    explicit RuntimeException(const String& message = {});

    // The calls, innermost first, as "function + 0x1F", or "path + 0x1F" if the program or library at that
    // path does not export the function's name. Names are looked up here, so that throwing an exception stays
    // cheap.
    Array<String> Stack() const;
    // The name of the exception's class.
    virtual const char* name() const noexcept { return "RuntimeException"; }
    const char* what() const noexcept override { return name(); }

    String Message;

private:
    std::array<void*, 64> frames_{};
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
