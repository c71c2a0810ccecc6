#include "runtime/values/Dictionary.hpp"

#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/KeyHash.hpp"

#include <utility>

namespace hearthix {

namespace {

constexpr std::size_t kMissing = SIZE_MAX;
constexpr std::size_t kFirstPlaces = 6; // as many as a unit of a document takes

std::uint32_t hashOf(std::string_view text) {
    return hashIgnoringCase(text);
}
std::uint32_t hashOf(const Variant& key) {
    return key.isString() ? hashOf(key.asString().view()) : hashOfNumber(key.asInteger());
}

inline bool matches(const Variant& candidate, std::string_view key) {
    if (!candidate.isString())
        return false;
    // Most keys that differ do so in their first letter, by more than the bit of its case.
    const std::string_view text = candidate.asString();
    return text.size() == key.size() &&
           (key.empty() || (((text[0] ^ key[0]) & ~0x20) == 0 && RuntimeStringCompare(text, key)));
}
bool matches(const Variant& candidate, const Variant& key) {
    return candidate == key;
}

} // namespace

template <class Wanted>
std::size_t Dictionary::locate(Wanted key) const {
    if (slots_.empty()) {
        for (const Entry& entry : entries_)
            if (matches(entry.key, key))
                return static_cast<std::size_t>(&entry - entries_.data());
        return kMissing;
    }
    const std::uint32_t hash = hashOf(key);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = hash & mask; slots_[at].entry != 0; at = (at + 1) & mask) {
        const std::size_t i = slots_[at].entry - 1;
        if (slots_[at].hash == hash && matches(entries_[i].key, key))
            return i;
    }
    return kMissing;
}

std::size_t Dictionary::place(const Variant& key) const {
    return key.isString() ? locate(key.asString().view()) : locate<const Variant&>(key);
}

const Variant* Dictionary::find(const Variant& key) const {
    const std::size_t i = place(key);
    return i == kMissing ? nullptr : &entries_[i].value;
}

const Variant* Dictionary::find(std::string_view key) const {
    const std::size_t i = locate(key);
    return i == kMissing ? nullptr : &entries_[i].value;
}

const Variant& Dictionary::Value(const Variant& key) const {
    const Variant* value = find(key);
    if (value == nullptr)
        throw KeyNotFoundException();
    return *value;
}

void Dictionary::SetValue(Variant key, Variant value) {
    const std::size_t i = place(key);
    if (i != kMissing)
        entries_[i].value = std::move(value);
    else
        append(std::move(key), std::move(value));
}

void Dictionary::Add(const String& key, const String& value) {
    append(key, value);
}

template <class KeyLike, class ValueLike>
void Dictionary::append(KeyLike&& key, ValueLike&& value) {
    if (entries_.capacity() == 0)
        entries_.reserve(kFirstPlaces);
    entries_.emplace_back(std::forward<KeyLike>(key), std::forward<ValueLike>(value));
    if (entries_.size() > kUnindexed)
        indexNewest();
}

void Dictionary::indexNewest() {
    if (slots_.size() < entries_.size() * 2)
        rebuildIndex();
    else
        enterSlot(hashOf(entries_.back().key), entries_.size() - 1);
}

void Dictionary::Remove(const Variant& key) {
    const std::size_t i = place(key);
    if (i == kMissing)
        throw KeyNotFoundException();
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(i));
    if (entries_.size() > kUnindexed)
        rebuildIndex();
    else
        slots_.clear();
}

void Dictionary::Clear() noexcept {
    entries_.clear();
    slots_.clear();
}

void Dictionary::enterSlot(std::uint32_t hash, std::size_t entry) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    while (slots_[at].entry != 0)
        at = (at + 1) & mask;
    slots_[at] = Slot{hash, static_cast<std::uint32_t>(entry + 1)};
}

void Dictionary::rebuildIndex() {
    std::size_t size = 4 * kUnindexed;
    while (size < entries_.size() * 2 + 1)
        size *= 2;
    slots_.assign(size, Slot{0, 0});
    for (std::size_t i = 0; i < entries_.size(); ++i)
        enterSlot(hashOf(entries_[i].key), i);
}

const Dictionary::Entry& Dictionary::entryAt(Integer index) const {
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
