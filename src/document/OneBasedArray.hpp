// An array whose element 0 is a placeholder, so that its content starts at index 1. The placeholder is part
// of the object, so an empty array allocates nothing: a document has two such arrays in each node.
#pragma once

#include "runtime/core/Array.hpp"

#include <cstdint>
#include <utility>
#include <vector>

namespace hearthix {

template <class T>
class OneBasedArray {
public:
    // The last index; 0 if there is no content.
    std::int64_t Ubound() const noexcept { return static_cast<std::int64_t>(content_.size()); }
    void Append(T item) { content_.push_back(std::move(item)); }
    // Raises OutOfBoundsException outside of 0 to Ubound.
    T& operator[](std::int64_t index) {
        check(index, 0);
        return index == 0 ? placeholder_ : content_[static_cast<std::size_t>(index - 1)];
    }
    const T& operator[](std::int64_t index) const {
        check(index, 0);
        return index == 0 ? placeholder_ : content_[static_cast<std::size_t>(index - 1)];
    }
    // Removes an element from 1 on; raises OutOfBoundsException for any other index.
    void Remove(std::int64_t index) {
        check(index, 1);
        content_.erase(content_.begin() + static_cast<std::ptrdiff_t>(index - 1));
    }
    void Resize(std::int64_t lastIndex) {
        content_.resize(static_cast<std::size_t>(lastIndex > 0 ? lastIndex : 0));
    }

private:
    void check(std::int64_t index, std::int64_t lowest) const {
        if (index < lowest || index > Ubound())
            raiseOutOfBounds();
    }

    T placeholder_{};
    std::vector<T> content_;
};

} // namespace hearthix
