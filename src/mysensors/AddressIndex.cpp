#include "mysensors/AddressIndex.hpp"

#include "log/Globals.hpp"

#include <charconv>

namespace hearthix {

Ref<mySensors::AddressTable> mySensors::AddressIndex;

void mySensors::AddressTable::enter(Integer node, Integer child, const Ref<Object>& endpoint) {
    std::unique_ptr<Row>& row = rows_[lowByte(node)];
    if (!row)
        row = std::make_unique<Row>();
    SetValue(rootAddressOf(node, child), endpoint);
    (*row)[lowByte(child)] = endpoint.get();
}

void mySensors::AddressTable::expect(std::string_view line) const noexcept {
    unsigned node = 0;
    unsigned child = 0;
    const char* end = line.data() + line.size();
    const char* separator = std::from_chars(line.data(), end, node).ptr;
    if (separator != end)
        std::from_chars(separator + 1, end, child);
    __builtin_prefetch(at(node, child));
}

String mySensors::rootAddressOf(Integer node, Integer child) {
    const auto first = Globals::hexDigits(static_cast<std::uint8_t>(node));
    const auto second = Globals::hexDigits(static_cast<std::uint8_t>(child));
    const char address[] = {first[0], first[1], second[0], second[1]};
    return String(std::string_view(address, sizeof address), TextEncoding::utf8);
}

} // namespace hearthix
