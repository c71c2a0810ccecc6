// Where every endpoint is found.
#pragma once

#include "runtime/values/Dictionary.hpp"

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

namespace hearthix::mySensors {

// From a root address (two hexadecimal digits of the node, two of the child, as in 0A03) to its cMSEndpoint.
//
// Beside the dictionary stands a table by the two numbers. It is the way of every set line: no text to hash
// and compare, and a single place in memory to visit however many endpoints there are.
class AddressTable : public Dictionary {
public:
    // Adds an endpoint, or puts it in another one's place, under the low bytes of its numbers.
    void enter(Integer node, Integer child, const Ref<Object>& endpoint);
    // The endpoint under the low bytes of the numbers, or null. Borrowed: the dictionary holds it.
    Object* at(Integer node, Integer child) const noexcept {
        const Row* row = rows_[lowByte(node)].get();
        return row != nullptr ? (*row)[lowByte(child)] : nullptr;
    }
    // Lets the processor fetch the endpoint of the line that comes next, while the one before is at work: in
    // a large mesh it has left the caches since its last value.
    void expect(std::string_view line) const noexcept;

private:
    // The table would know nothing of these.
    using Dictionary::Clear;
    using Dictionary::Remove;
    using Dictionary::SetValue;

    static std::uint8_t lowByte(Integer number) noexcept { return static_cast<std::uint8_t>(number); }

    using Row = std::array<Object*, 256>;
    std::array<std::unique_ptr<Row>, 256> rows_; // by node, those that exist
};

// Nil until start-up; nothing is ever removed from it.
extern Ref<AddressTable> AddressIndex;

// The root address of a child, from the low byte of either number.
String rootAddressOf(Integer node, Integer child);

} // namespace hearthix::mySensors
