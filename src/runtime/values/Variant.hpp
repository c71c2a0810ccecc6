// A value of any type that the system keeps in tables: nothing, a Boolean, an integer, a double, a string or
// a counted object.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

#include <concepts>
#include <cstdint>
#include <memory>
#include <utility>

namespace hearthix {

class Variant {
public:
    Variant() noexcept : kind_(Kind::nothing), integer_(0) {}
    Variant(const String& text) noexcept : kind_(Kind::text), text_(text) {}
    Variant(String&& text) noexcept : kind_(Kind::text), text_(std::move(text)) {}
    Variant(const char* text) : kind_(Kind::text), text_(text) {}
    template <std::integral Number>
    Variant(Number number) noexcept : kind_(Kind::integer), integer_(static_cast<Integer>(number)) {}
    Variant(bool truth) noexcept : kind_(Kind::boolean), integer_(truth ? 1 : 0) {}
    Variant(double number) noexcept : kind_(Kind::real), real_(number) {}
    template <class T>
    Variant(T* pointer) = delete;
    template <class T>
    Variant(const Ref<T>& object) noexcept : kind_(Kind::object), object_(object) {}
    Variant(const Variant& other) noexcept { copyFrom(other); }
    Variant(Variant&& other) noexcept { moveFrom(other); }
    Variant& operator=(const Variant& other) noexcept {
        if (this != &other) {
            destroy();
            copyFrom(other);
        }
        return *this;
    }
    Variant& operator=(Variant&& other) noexcept {
        if (this != &other) {
            destroy();
            moveFrom(other);
        }
        return *this;
    }
    ~Variant() { destroy(); }

    bool isString() const noexcept { return kind_ == Kind::text; }
    bool isInteger() const noexcept { return kind_ == Kind::integer; }
    // The string; empty when the value is none.
    const String& asString() const noexcept { return isString() ? text_ : emptyText(); }
    // The integer; 0 when the value is none.
    Integer asInteger() const noexcept { return isInteger() ? integer_ : 0; }
    // The number that a key or value stands for: an integer as it is, a double cut toward zero, of a string
    // the number at its start.
    Integer toInteger() const;
    // The object when there is one of this class, else null. Borrowed: it lives as long as the table holds
    // it.
    template <class T>
    T* objectAs() const noexcept {
        return objectCast<T>(kind_ == Kind::object ? object_.get() : nullptr);
    }

    // Strings ignore case; values of different types are different.
    friend bool operator==(const Variant& left, const Variant& right) noexcept;

private:
    enum class Kind : std::uint8_t { nothing, boolean, integer, real, text, object };

    static const String& emptyText() noexcept;
    void copyFrom(const Variant& other) noexcept {
        kind_ = other.kind_;
        if (kind_ == Kind::text)
            std::construct_at(&text_, other.text_);
        else if (kind_ == Kind::object)
            std::construct_at(&object_, other.object_);
        else if (kind_ == Kind::real)
            std::construct_at(&real_, other.real_);
        else
            std::construct_at(&integer_, other.integer_);
    }
    void moveFrom(Variant& other) noexcept {
        if (other.kind_ != Kind::text && other.kind_ != Kind::object) {
            copyFrom(other);
            return;
        }
        kind_ = other.kind_;
        if (kind_ == Kind::text)
            std::construct_at(&text_, std::move(other.text_));
        else
            std::construct_at(&object_, std::move(other.object_));
    }
    void destroy() noexcept {
        if (kind_ == Kind::text)
            std::destroy_at(&text_);
        else if (kind_ == Kind::object)
            std::destroy_at(&object_);
    }

    Kind kind_;
    union {
        Integer integer_; // also of a Boolean
        double real_;
        String text_;
        Ref<Object> object_;
    };
};

} // namespace hearthix
