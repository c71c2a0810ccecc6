#include "runtime/values/Dictionary.hpp"

#include <algorithm>
#include <utility>

namespace hearthix {

// The position of a key; the number of entries if it is missing.
std::size_t Dictionary::locate(const Variant& key) const {
    if (!index_.empty()) {
        const auto found = index_.find(key);
        return found != index_.end() ? found->second : entries_.size();
    }
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&key](const Entry& entry) { return entry.key == key; });
    return static_cast<std::size_t>(found - entries_.begin());
}

const Variant* Dictionary::find(const Variant& key) const {
    const std::size_t i = locate(key);
    return i < entries_.size() ? &entries_[i].value : nullptr;
}

const Variant& Dictionary::Value(const Variant& key) const {
    const Variant* value = find(key);
    if (value == nullptr)
        throw KeyNotFoundException();
    return *value;
}

void Dictionary::SetValue(Variant key, Variant value) {
    const std::size_t i = locate(key);
    if (i < entries_.size())
        entries_[i].value = std::move(value);
    else
        Add(std::move(key), std::move(value));
}

// Adds the latest entries to the index.
void Dictionary::completeIndex() {
    for (std::size_t i = index_.size(); i < entries_.size(); ++i)
        index_.emplace(entries_[i].key, i);
}

void Dictionary::Remove(const Variant& key) {
    const std::size_t i = locate(key);
    if (i == entries_.size())
        throw KeyNotFoundException();
    index_.erase(key);
    for (auto& [other, position] : index_)
        position -= position > i;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(i));
}

void Dictionary::Clear() noexcept {
    entries_.clear();
    index_.clear();
}

const Dictionary::Entry& Dictionary::entryAt(Integer index) const {
    if (index < 0 || index >= Count())
        raiseOutOfBounds();
    return entries_[static_cast<std::size_t>(index)];
}

Array<Variant> Dictionary::Keys() const {
    Array<Variant> keys;
    for (const Entry& entry : entries_)
        keys.Append(entry.key);
    return keys;
}

} // namespace hearthix
