#include "runtime/values/Dictionary.hpp"

#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/KeyHash.hpp"

#include <algorithm>
#include <utility>

namespace hearthix {

namespace {

constexpr std::size_t kMissing = SIZE_MAX;
constexpr std::size_t kFirstPlaces = 6; // as many as a unit of a document takes

std::uint32_t hashOf(Integer number) {
    return hashOfNumber(number);
}
std::uint32_t hashOf(std::string_view text) {
    return hashIgnoringCase(text);
}
std::uint32_t hashOf(const Variant& key) {
    return key.isString() ? hashOf(key.asString().view()) : hashOf(key.asInteger());
}

bool matches(const Variant& candidate, Integer key) {
    return candidate.isInteger() && candidate.asInteger() == key;
}
bool matches(const Variant& candidate, std::string_view key) {
    return candidate.isString() && RuntimeStringCompare(candidate.asString(), key);
}
bool matches(const Variant& candidate, const Variant& key) {
    return candidate == key;
}

} // namespace

template <class Wanted>
std::size_t Dictionary::locate(const Wanted& key) const {
    if (slots_.empty()) {
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (matches(entries_[i].key, key))
                return i;
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

template <class Wanted>
const Variant* Dictionary::valueOf(const Wanted& key) const {
    const std::size_t i = locate(key);
    return i == kMissing ? nullptr : &entries_[i].value;
}

const Variant* Dictionary::find(const Variant& key) const {
    return key.isString() ? valueOf(key.asString().view()) : valueOf(key);
}

const Variant* Dictionary::find(std::string_view key) const {
    return valueOf(key);
}

const Variant* Dictionary::find(Integer key) const {
    return valueOf(key);
}

const Variant& Dictionary::Value(const Variant& key) const {
    const Variant* value = find(key);
    if (value == nullptr)
        throw KeyNotFoundException();
    return *value;
}

void Dictionary::SetValue(Variant key, Variant value) {
    const std::size_t place = key.isString() ? locate(key.asString().view()) : locate(key);
    enter(place, std::move(key), std::move(value));
}

void Dictionary::SetValue(const String& key, const String& value) {
    enter(locate(key.view()), key, value);
}

template <class KeyLike, class ValueLike>
void Dictionary::enter(std::size_t place, KeyLike&& key, ValueLike&& value) {
    if (place != kMissing) {
        entries_[place].value = std::forward<ValueLike>(value);
        return;
    }
    if (entries_.capacity() == 0)
        entries_.reserve(kFirstPlaces);
    entries_.emplace_back(std::forward<KeyLike>(key), std::forward<ValueLike>(value));
    if (entries_.size() <= kUnindexed)
        return;
    if (slots_.size() < entries_.size() * 2)
        rebuildIndex();
    else
        enterSlot(hashOf(entries_.back().key), entries_.size() - 1);
}

void Dictionary::Remove(const Variant& key) {
    const std::size_t i = locate(key);
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
