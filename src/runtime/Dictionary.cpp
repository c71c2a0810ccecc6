#include "runtime/Dictionary.hpp"

#include "runtime/StringFunctions.hpp"

#include <algorithm>

namespace hearthix {

namespace {

constexpr std::size_t kMissing = SIZE_MAX;

std::uint32_t hashOfInteger(Integer number) {
    return static_cast<std::uint32_t>((static_cast<std::uint64_t>(number) * 0x9E3779B97F4A7C15U) >> 32U);
}

std::uint32_t hashOf(const Variant& key) {
    if (key.isString())
        return hashIgnoringCase(key.asString());
    return hashOfInteger(key.asInteger());
}

} // namespace

template <class Matches>
std::size_t Dictionary::search(std::uint32_t hash, const Matches& matches) const {
    if (slots_.empty()) {
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (entries_[i].hash == hash && !entries_[i].removed && matches(entries_[i].key))
                return i;
        return kMissing;
    }
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = hash & mask; slots_[at].entry != 0; at = (at + 1) & mask) {
        const std::size_t i = slots_[at].entry - 1;
        if (slots_[at].hash == hash && !entries_[i].removed && matches(entries_[i].key))
            return i;
    }
    return kMissing;
}

std::size_t Dictionary::locate(const Variant& key) const {
    return search(hashOf(key), [&](const Variant& candidate) { return candidate == key; });
}

const Variant* Dictionary::find(const Variant& key) const {
    const std::size_t i = locate(key);
    return i == kMissing ? nullptr : &entries_[i].value;
}

const Variant* Dictionary::find(std::string_view key) const {
    const std::size_t i = search(hashIgnoringCase(key), [&](const Variant& candidate) {
        return candidate.isString() && RuntimeStringCompare(candidate.asString(), key);
    });
    return i == kMissing ? nullptr : &entries_[i].value;
}

const Variant* Dictionary::find(Integer key) const {
    const std::size_t i = search(hashOfInteger(key), [&](const Variant& candidate) {
        return candidate.isInteger() && candidate.asInteger() == key;
    });
    return i == kMissing ? nullptr : &entries_[i].value;
}

const Variant& Dictionary::Value(const Variant& key) const {
    const Variant* value = find(key);
    if (value == nullptr)
        throw KeyNotFoundException();
    return *value;
}

void Dictionary::SetValue(const Variant& key, Variant value) {
    const std::uint32_t hash = hashOf(key);
    const std::size_t i = search(hash, [&](const Variant& candidate) { return candidate == key; });
    if (i != kMissing) {
        entries_[i].value = std::move(value);
        return;
    }
    if (removed_ > entries_.size() / 2)
        compact();
    // Large tables grow by a quarter: memory matters more there than the rare move.
    if (entries_.size() == entries_.capacity() && entries_.size() > 1024)
        entries_.reserve(entries_.size() + entries_.size() / 4);
    entries_.push_back(Entry{key, std::move(value), hash, false});
    if (entries_.size() > kUnindexed) {
        if (slots_.size() < entries_.size() * 2)
            rebuildIndex();
        else
            enterSlot(hash, entries_.size() - 1);
    }
}

void Dictionary::Remove(const Variant& key) {
    const std::size_t i = locate(key);
    if (i == kMissing)
        throw KeyNotFoundException();
    entries_[i].removed = true;
    entries_[i].value = Variant();
    ++removed_;
}

void Dictionary::enterSlot(std::uint32_t hash, std::size_t entry) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    while (slots_[at].entry != 0)
        at = (at + 1) & mask;
    slots_[at] = Slot{hash, static_cast<std::uint32_t>(entry + 1)};
}

void Dictionary::rebuildIndex() const {
    std::size_t size = 32;
    while (size < entries_.size() * 2 + 1)
        size *= 2;
    slots_.assign(size, Slot{0, 0});
    for (std::size_t i = 0; i < entries_.size(); ++i)
        enterSlot(entries_[i].hash, i);
}

void Dictionary::compact() const {
    if (removed_ == 0)
        return;
    std::erase_if(entries_, [](const Entry& entry) { return entry.removed; });
    removed_ = 0;
    if (!slots_.empty())
        rebuildIndex();
}

const Dictionary::Entry& Dictionary::entryAt(Integer index) const {
    compact();
    if (index < 0 || index >= Count())
        throw OutOfBoundsException();
    return entries_[static_cast<std::size_t>(index)];
}

const Variant& Dictionary::Key(Integer index) const {
    return entryAt(index).key;
}

const Variant& Dictionary::ValueAt(Integer index) const {
    return entryAt(index).value;
}

Array<Variant> Dictionary::Keys() const {
    Array<Variant> keys;
    keys.Reserve(static_cast<std::size_t>(Count()));
    for (Integer i = 0; i < Count(); ++i)
        keys.Append(Key(i));
    return keys;
}

} // namespace hearthix
