// A value of any type that the system keeps in tables: nothing, a Boolean, an integer, a double, a string or
// a counted object.
#pragma once

#include "runtime/Exceptions.hpp"
#include "runtime/Object.hpp"
#include "runtime/String.hpp"

#include <concepts>
#include <typeinfo>
#include <utility>
#include <variant>

namespace hearthix {

class Variant {
public:
    Variant() = default;
    Variant(const String& text) : value_(text) {}
    Variant(String&& text) : value_(std::move(text)) {}
    Variant(const char* text) : value_(String(text)) {}
    template <std::integral Number>
    Variant(Number number) : value_(static_cast<Integer>(number)) {}
    Variant(bool truth) : value_(truth) {}
    Variant(double number) : value_(number) {}
    template <class T>
    Variant(T* pointer) = delete;
    template <class T>
    Variant(const Ref<T>& object) : value_(Ref<Object>(object)) {}

    bool isString() const noexcept { return std::holds_alternative<String>(value_); }
    bool isInteger() const noexcept { return std::holds_alternative<Integer>(value_); }
    // The string; empty when the value is none.
    const String& asString() const noexcept {
        static const String kNone;
        const String* text = std::get_if<String>(&value_);
        return text ? *text : kNone;
    }
    // The integer; 0 when the value is none.
    Integer asInteger() const noexcept {
        const Integer* number = std::get_if<Integer>(&value_);
        return number ? *number : 0;
    }
    // The number that a key or value stands for: an integer as it is, a double cut toward zero, of a string
    // the number at its start.
    Integer toInteger() const;
    // The object when there is one of this class, else null. Borrowed: it lives as long as the table holds
    // it.
    template <class T>
    T* objectAs() const noexcept {
        const Ref<Object>* held = std::get_if<Ref<Object>>(&value_);
        Object* object = held ? held->get() : nullptr;
        // Nearly always the very class that is asked for, which a plain comparison tells.
        if constexpr (requires { static_cast<T*>(object); })
            if (object != nullptr && typeid(*object) == typeid(T))
                return static_cast<T*>(object);
        return dynamic_cast<T*>(object);
    }

    // Strings ignore case; values of different types are different.
    friend bool operator==(const Variant& left, const Variant& right) = default;

private:
    std::variant<std::monostate, Integer, String, Ref<Object>, double, bool> value_;
};

} // namespace hearthix
