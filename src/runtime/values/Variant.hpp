// A value of any type that the system stores in tables: nothing, a Boolean, an integer, a double, a string or
// a reference to an object.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

#include <concepts>
#include <utility>
#include <variant>

namespace hearthix {

class Variant {
public:
    Variant() noexcept = default;
    Variant(const String& text) noexcept : value_(text) {}
    Variant(String&& text) noexcept : value_(std::move(text)) {}
    Variant(const char* text) : value_(String(text)) {}
    template <std::integral Number>
    Variant(Number number) noexcept : value_(static_cast<Integer>(number)) {}
    Variant(bool truth) noexcept : value_(truth) {}
    Variant(double number) noexcept : value_(number) {}
    template <class T>
    Variant(T* pointer) = delete;
    template <class T>
    Variant(const Ref<T>& object) noexcept : value_(Ref<Object>(object)) {}

    bool isString() const noexcept { return std::holds_alternative<String>(value_); }
    // The string; empty if the value is not a string.
    const String& asString() const noexcept {
        const String* text = std::get_if<String>(&value_);
        return text != nullptr ? *text : kNoText;
    }
    // The integer; 0 if the value is not an integer.
    Integer asInteger() const noexcept {
        const Integer* number = std::get_if<Integer>(&value_);
        return number != nullptr ? *number : 0;
    }
    // The value as a number: an integer unchanged, a double truncated toward zero, of a string the number at
    // its start.
    Integer toInteger() const;
    // The object, if it is of this class, else null. Borrowed: valid as long as the table owns it.
    template <class T>
    T* objectAs() const noexcept {
        const Ref<Object>* object = std::get_if<Ref<Object>>(&value_);
        return object != nullptr ? dynamic_cast<T*>(object->get()) : nullptr;
    }

    // Strings ignore the case of ASCII letters. Values of different types are different.
    friend bool operator==(const Variant& left, const Variant& right) noexcept = default;
    // An order of all values that agrees with the equality: by type, then by value.
    static bool isLess(const Variant& left, const Variant& right) noexcept;

private:
    static inline const String kNoText;

    std::variant<std::monostate, bool, Integer, double, String, Ref<Object>> value_;
};

} // namespace hearthix
