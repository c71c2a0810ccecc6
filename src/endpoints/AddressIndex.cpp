#include "endpoints/AddressIndex.hpp"

#include "endpoints/cMSEndpoint.hpp"

namespace hearthix {

Ref<mySensors::AddressTable> mySensors::AddressIndex;

void mySensors::AddressTable::enter(Integer node, Integer child, const Ref<cMSEndpoint>& endpoint) {
    std::unique_ptr<Row>& row = rows_[lowByte(node)];
    if (!row)
        row = std::make_unique<Row>();
    SetValue(rootAddressOf(node, child), endpoint);
    (*row)[lowByte(child)] = endpoint.get();
}

} // namespace hearthix
