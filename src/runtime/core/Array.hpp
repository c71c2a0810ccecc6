// An array that checks every index: an index out of range raises OutOfBoundsException.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

namespace hearthix {

[[noreturn]] void raiseOutOfBounds();

template <class T>
class Array {
public:
    Array() = default;
    Array(std::initializer_list<T> items) : items_(items) {}

    // The last index; -1 for an empty array.
    std::int64_t Ubound() const noexcept { return static_cast<std::int64_t>(items_.size()) - 1; }
    void Append(T item) { items_.push_back(std::move(item)); }
    T& operator[](std::int64_t index) { return items_[checked(index)]; }
    const T& operator[](std::int64_t index) const { return items_[checked(index)]; }
    void Remove(std::int64_t index) {
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(checked(index)));
    }
    void Resize(std::int64_t lastIndex) {
        items_.resize(static_cast<std::size_t>(std::max<std::int64_t>(lastIndex, -1) + 1));
    }
    // Ascending.
    void Sort() { std::sort(items_.begin(), items_.end()); }
    // The index of the first equal item; -1 if there is none.
    std::int64_t IndexOf(const T& item) const {
        const auto found = std::find(items_.begin(), items_.end(), item);
        return found == items_.end() ? -1 : found - items_.begin();
    }

    auto begin() noexcept { return items_.begin(); }
    auto end() noexcept { return items_.end(); }
    auto begin() const noexcept { return items_.begin(); }
    auto end() const noexcept { return items_.end(); }

private:
    std::size_t checked(std::int64_t index) const {
        if (index < 0 || index > Ubound())
            raiseOutOfBounds();
        return static_cast<std::size_t>(index);
    }

    std::vector<T> items_;
};

} // namespace hearthix
