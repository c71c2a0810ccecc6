// A table of keys and values of any type, enumerated in order of insertion.
//
// String keys ignore case, and a string key never equals an integer key. Up to eight entries are searched one
// by one; larger tables have an index, so that look-ups cost the same at any size. Replacing a value keeps
// the key's place and its first spelling. References into the table hold until the next change of it.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/core/Object.hpp"
#include "runtime/values/Exceptions.hpp"
#include "runtime/values/Variant.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace hearthix {

class Dictionary : public Object {
public:
    Dictionary() = default;
    // Makes room for a known number of entries.
    explicit Dictionary(std::size_t expected) { entries_.reserve(expected); }

    Integer Count() const noexcept { return static_cast<Integer>(entries_.size()); }
    bool HasKey(const Variant& key) const { return find(key) != nullptr; }
    // Raises KeyNotFoundException when the key is missing.
    const Variant& Value(const Variant& key) const;
    // Adds or replaces.
    void SetValue(Variant key, Variant value);
    // Adds a key that is known to be new, without a look for it.
    void Add(const String& key, const String& value);
    // Drops a key, at the cost of a walk over the table; raises KeyNotFoundException when it is missing.
    void Remove(const Variant& key);
    // Drops all, and keeps the room.
    void Clear() noexcept;
    // The key at a position from 0; raises OutOfBoundsException when there is none.
    const Variant& Key(Integer index) const;
    // The value that belongs to Key(index).
    const Variant& ValueAt(Integer index) const;
    Array<Variant> Keys() const;

    struct Entry {
        template <class KeyLike, class ValueLike>
        Entry(KeyLike&& itsKey, ValueLike&& itsValue) noexcept
            : key(std::forward<KeyLike>(itsKey)), value(std::forward<ValueLike>(itsValue)) {}

        Variant key;
        Variant value;
    };
    // All entries in order; for walks that change nothing.
    const std::vector<Entry>& entries() const noexcept { return entries_; }

    // The value under a key, or null. The one-step form of HasKey and Value.
    const Variant* find(const Variant& key) const;
    const Variant* find(std::string_view key) const;

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t entry; // number of the entry plus one; 0 for a free slot
    };
    static constexpr std::size_t kUnindexed = 8;

    template <class Wanted>
    std::size_t locate(Wanted key) const;
    std::size_t place(const Variant& key) const;
    template <class KeyLike, class ValueLike>
    void append(KeyLike&& key, ValueLike&& value);
    void indexNewest();
    void enterSlot(std::uint32_t hash, std::size_t entry);
    void rebuildIndex();
    const Entry& entryAt(Integer index) const;

    std::vector<Entry> entries_;
    std::vector<Slot> slots_; // empty while the entries are few; a power of two, at most half of it in use
};

} // namespace hearthix
