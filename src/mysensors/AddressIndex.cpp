#include "mysensors/AddressIndex.hpp"

#include "shell/Globals.hpp"

namespace hearthix {

Ref<mySensors::AddressTable> mySensors::AddressIndex;

namespace {

std::size_t lowByte(Integer number) {
    return static_cast<std::uint8_t>(number);
}

} // namespace

void mySensors::AddressTable::enter(Integer node, Integer child, const Ref<Object>& endpoint) {
    std::unique_ptr<Row>& row = rows_[lowByte(node)];
    if (!row)
        row = std::make_unique<Row>();
    SetValue(rootAddressOf(node, child), endpoint);
    (*row)[lowByte(child)] = endpoint.get();
}

Object* mySensors::AddressTable::at(Integer node, Integer child) const noexcept {
    const std::unique_ptr<Row>& row = rows_[lowByte(node)];
    return row ? (*row)[lowByte(child)] : nullptr;
}

void mySensors::AddressTable::prefetch(Integer node, Integer child) const noexcept {
    if (const std::unique_ptr<Row>& row = rows_[lowByte(node)])
        __builtin_prefetch(&(*row)[lowByte(child)]);
}

String mySensors::rootAddressOf(Integer node, Integer child) {
    return concat(Globals::formatHexOfLowByte(node), Globals::formatHexOfLowByte(child));
}

} // namespace hearthix
