// Counted objects and the references to them.
//
// An Object lives as long as a Ref to it exists. Everything runs on one thread, so the count is a plain
// integer. A new object starts with a count of one, owned by the Ref that Ref::make returns; that lets a
// constructor run events which take and drop further references to the half-built object.
//
// Dereferencing an empty Ref raises NilObjectException; it never is undefined behaviour.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace hearthix {

[[noreturn]] void raiseNilObject();

class Object {
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    void retain() const noexcept { ++references_; }
    void release() const {
        if (--references_ == 0)
            delete this;
    }
    // Number of references. One means that the caller's reference is the only one.
    std::uint32_t referenceCount() const noexcept { return references_; }

private:
    mutable std::uint32_t references_ = 1;
};

// The object as one of this class, or null when it is none.
template <class T>
T* objectCast(Object* object) noexcept {
    // Nearly always the very class that is asked for, which a plain comparison tells.
    // cppcheck-suppress constStatement ; a requirement, and no statement
    if constexpr (requires { static_cast<T*>(object); })
        if (object != nullptr && typeid(*object) == typeid(T))
            return static_cast<T*>(object);
    return dynamic_cast<T*>(object);
}

template <class T>
class Ref {
public:
    constexpr Ref() noexcept = default;
    constexpr Ref(std::nullptr_t) noexcept {}
    explicit Ref(T* object) noexcept : object_(object) {
        if (object_)
            object_->retain();
    }
    Ref(const Ref& other) noexcept : Ref(other.object_) {}
    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class U>
    requires std::is_convertible_v<U*, T*> Ref(const Ref<U>& other)
    noexcept : Ref(other.get()) {}
    ~Ref() {
        if (object_)
            object_->release();
    }
    Ref& operator=(Ref other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }

    template <class... Args>
    static Ref make(Args&&... args) {
        return adopt(new T(std::forward<Args>(args)...));
    }
    // Takes over the one reference that a new object starts with.
    static Ref adopt(T* fresh) noexcept {
        Ref result;
        result.object_ = fresh;
        return result;
    }

    T* get() const noexcept { return object_; }
    T* operator->() const {
        if (!object_)
            raiseNilObject();
        return object_;
    }
    T& operator*() const { return *operator->(); }
    bool isNil() const noexcept { return object_ == nullptr; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    friend bool operator==(const Ref& left, const Ref& right) noexcept {
        return left.object_ == right.object_;
    }

private:
    T* object_ = nullptr;
};

} // namespace hearthix
