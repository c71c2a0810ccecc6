// Where every endpoint is found.
#pragma once

#include "runtime/values/Dictionary.hpp"

#include <array>
#include <cstdint>
#include <memory>

namespace hearthix {

class cMSEndpoint;

namespace mySensors {

// From a root address (two hexadecimal digits of the node, two of the child, as in 0A03) to its cMSEndpoint.
//
// A second table finds an endpoint by the two numbers. Every set line uses it: there is no text to hash and
// compare, and one memory access finds the endpoint, however many there are.
class AddressTable : public Dictionary {
public:
    // Stores an endpoint under the low bytes of its numbers; replaces an earlier one.
    void enter(Integer node, Integer child, const Ref<cMSEndpoint>& endpoint);
    // The endpoint under the low bytes of the numbers, or null. Borrowed: the dictionary owns a reference.
    cMSEndpoint* at(Integer node, Integer child) const noexcept {
        const Row* row = rows_[lowByte(node)].get();
        return row != nullptr ? (*row)[lowByte(child)] : nullptr;
    }

private:
    // Hidden, because they would leave the second table out of date.
    using Dictionary::Clear;
    using Dictionary::Remove;
    using Dictionary::SetValue;

    static std::uint8_t lowByte(Integer number) noexcept { return static_cast<std::uint8_t>(number); }

    using Row = std::array<cMSEndpoint*, 256>;
    std::array<std::unique_ptr<Row>, 256> rows_; // by node, those that exist
};

// Nil until start-up; nothing is ever removed from it.
extern Ref<AddressTable> AddressIndex;

} // namespace mySensors
} // namespace hearthix
