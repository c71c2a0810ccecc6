// A value of any type that the system keeps in tables: nothing, a Boolean, an integer, a double, a string or
// a counted object.
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
    // The string; empty when the value is none.
    const String& asString() const noexcept {
        const String* text = std::get_if<String>(&value_);
        return text != nullptr ? *text : emptyText();
    }
    // The integer; 0 when the value is none.
    Integer asInteger() const noexcept {
        const Integer* number = std::get_if<Integer>(&value_);
        return number != nullptr ? *number : 0;
    }
    // The number that a key or value stands for: an integer as it is, a double cut toward zero, of a string
    // the number at its start.
    Integer toInteger() const;
    // The object when there is one of this class, else null. Borrowed: it lives as long as the table holds
    // it.
    template <class T>
    T* objectAs() const noexcept {
        const Ref<Object>* object = std::get_if<Ref<Object>>(&value_);
        return objectCast<T>(object != nullptr ? object->get() : nullptr);
    }

    // Strings ignore case; values of different types are different.
    friend bool operator==(const Variant& left, const Variant& right) noexcept = default;

private:
    static const String& emptyText() noexcept;

    std::variant<std::monostate, bool, Integer, double, String, Ref<Object>> value_;
};

} // namespace hearthix
