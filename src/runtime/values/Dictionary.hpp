// A table of keys and values of any type, enumerated in the order of insertion.
//
// String keys ignore the case of ASCII letters, and a string key never equals an integer key. Replacing a
// value keeps the key's position and its first spelling. References into the table are valid until its next
// change. A look-up compares up to eight entries one by one. In larger tables it compares about as many as
// the logarithm of their size; no choice of keys makes it slower.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/core/Object.hpp"
#include "runtime/values/Exceptions.hpp"
#include "runtime/values/Variant.hpp"

#include <cstddef>
#include <map>
#include <utility>
#include <vector>

namespace hearthix {

class Dictionary : public Object {
public:
    struct Entry {
        template <class KeyLike, class ValueLike>
        Entry(KeyLike&& itsKey, ValueLike&& itsValue) noexcept
            : key(std::forward<KeyLike>(itsKey)), value(std::forward<ValueLike>(itsValue)) {}

        Variant key;
        Variant value;
    };

    // Allocates memory for an expected number of entries.
    explicit Dictionary(std::size_t expected = 0) { entries_.reserve(expected); }

    Integer Count() const noexcept { return static_cast<Integer>(entries_.size()); }
    bool HasKey(const Variant& key) const { return find(key) != nullptr; }
    // Raises KeyNotFoundException if the key is missing.
    const Variant& Value(const Variant& key) const;
    // Adds or replaces.
    void SetValue(Variant key, Variant value);
    // Adds a key that is not in the table. Faster than SetValue, because it does not search.
    template <class KeyLike, class ValueLike>
    void Add(KeyLike&& key, ValueLike&& value) {
        if (entries_.capacity() == 0)
            entries_.reserve(kUnindexed);
        entries_.emplace_back(std::forward<KeyLike>(key), std::forward<ValueLike>(value));
        if (entries_.size() > kUnindexed || !index_.empty())
            completeIndex();
    }
    // Removes a key in linear time. Raises KeyNotFoundException if the key is missing.
    void Remove(const Variant& key);
    // Removes all entries, but keeps their memory for later ones.
    void Clear() noexcept;
    // The key at a position from 0 on. Raises OutOfBoundsException past the end.
    const Variant& Key(Integer index) const { return entryAt(index).key; }
    // The value that belongs to Key(index).
    const Variant& ValueAt(Integer index) const { return entryAt(index).value; }
    Array<Variant> Keys() const;
    // All entries in order. The table must not change while they are read.
    const std::vector<Entry>& entries() const noexcept { return entries_; }
    // The value of a key; null if the key is missing.
    const Variant* find(const Variant& key) const;

private:
    static constexpr std::size_t kUnindexed = 8;

    std::size_t locate(const Variant& key) const;
    void completeIndex();
    const Entry& entryAt(Integer index) const;

    std::vector<Entry> entries_;
    // The position of each key. Empty until there are more than kUnindexed entries.
    std::map<Variant, std::size_t, decltype(&Variant::isLess)> index_{&Variant::isLess};
};

} // namespace hearthix
