// Objects with a reference count, and the references to them.
//
// An Object exists as long as a Ref to it exists. There is only one thread, so the count is a plain integer.
// The count of a new object starts at one, for the Ref that Ref::make returns: events that run inside the
// constructor may therefore create and destroy other references to the object.
//
// Dereferencing an empty Ref raises NilObjectException.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
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
    // One means that the caller's reference is the only one.
    std::uint32_t referenceCount() const noexcept { return references_; }

private:
    mutable std::uint32_t references_ = 1;
};

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
        Ref result;
        result.object_ = new T(std::forward<Args>(args)...);
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
