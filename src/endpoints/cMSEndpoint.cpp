#include "endpoints/cMSEndpoint.hpp"

#include "mysensors/AddressIndex.hpp"
#include "mysensors/Vocabulary.hpp"
#include "shell/Globals.hpp"
#include "shell/Logging.hpp"

namespace hearthix {

namespace {

Ref<cMSEndpoint> held(const Variant* entry) {
    return entry != nullptr ? Ref<cMSEndpoint>(entry->objectAs<cMSEndpoint>()) : nullptr;
}

} // namespace

Ref<cMSEndpoint> cMSEndpoint::find(const String& rootAddress) {
    return held(mySensors::AddressIndex->find(rootAddress.view()));
}

Ref<cMSEndpoint> cMSEndpoint::create(Integer node, Integer child, Integer) {
    const auto endpoint = Ref<cMSEndpoint>::make(node, child);
    endpoint->enter();
    return endpoint;
}

cMSEndpoint::cMSEndpoint(Integer node, Integer child)
    : RootIndexString(mySensors::rootAddressOf(node, child)), subUnits(Ref<Dictionary>::make(std::size_t{1})),
      nodeID(node), childID(child) {
}

void cMSEndpoint::enter() {
    const Ref<cMSEndpoint> self(this);
    if (childID == mySensors::kNodeLevelChild) {
        HearthixSupport::WriteLog(String("creating unit at node level for node: ") +
                                  Globals::formatHexOfLowByte(nodeID));
        mySensors::AddressIndex->SetValue(RootIndexString, self);
        return;
    }
    HearthixSupport::WriteLog(String("creating child object at Address: ") + RootIndexString);
    mySensors::AddressIndex->SetValue(RootIndexString, self);
    const Variant& node = mySensors::AddressIndex->Value(mySensors::nodeAddressOf(nodeID));
    node.objectAs<cMSEndpoint>()->subUnits->SetValue(RootIndexString, self);
}

} // namespace hearthix
