#include "mysensors/AddressIndex.hpp"

#include "log/Globals.hpp"

namespace hearthix {

Ref<mySensors::AddressTable> mySensors::AddressIndex;

void mySensors::AddressTable::enter(Integer node, Integer child, const Ref<Object>& endpoint) {
    std::unique_ptr<Row>& row = rows_[lowByte(node)];
    if (!row)
        row = std::make_unique<Row>();
    SetValue(rootAddressOf(node, child), endpoint);
    (*row)[lowByte(child)] = endpoint.get();
}

String mySensors::rootAddressOf(Integer node, Integer child) {
    const auto first = Globals::hexDigits(static_cast<std::uint8_t>(node));
    const auto second = Globals::hexDigits(static_cast<std::uint8_t>(child));
    const char address[] = {first[0], first[1], second[0], second[1]};
    return String(std::string_view(address, sizeof address), TextEncoding::utf8);
}

} // namespace hearthix
