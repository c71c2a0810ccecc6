#include "mysensors/AddressIndex.hpp"

#include "log/Globals.hpp"
#include "runtime/text/Numbers.hpp"

#include <algorithm>

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
    const Integer node = takeDigits(line);
    line.remove_prefix(std::min<std::size_t>(line.size(), 1));
    __builtin_prefetch(at(node, takeDigits(line)));
}

String mySensors::rootAddressOf(Integer node, Integer child) {
    const auto first = Globals::hexDigits(static_cast<std::uint8_t>(node));
    const auto second = Globals::hexDigits(static_cast<std::uint8_t>(child));
    const char address[] = {first[0], first[1], second[0], second[1]};
    return String(std::string_view(address, sizeof address), TextEncoding::utf8);
}

} // namespace hearthix
