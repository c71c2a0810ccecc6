#include "endpoints/cMSEndpoint.hpp"

#include "log/Globals.hpp"
#include "log/Log.hpp"
#include "mysensors/AddressIndex.hpp"
#include "vocabulary/Vocabulary.hpp"

#include <algorithm>

namespace hearthix {

namespace {

// The number at the front of a line, and the line behind its ";". Junk yields any number, as this is a hint.
Integer takeNumber(std::string_view& line) noexcept {
    Integer number = 0;
    std::size_t at = 0;
    for (; at < line.size() && at < 3 && line[at] != ';'; ++at)
        number = number * 10 + (line[at] - '0');
    line.remove_prefix(std::min(at + 1, line.size()));
    return number;
}

Ref<cMSEndpoint> held(const Variant* entry) {
    return entry != nullptr ? Ref<cMSEndpoint>(entry->objectAs<cMSEndpoint>()) : nullptr;
}

} // namespace

Ref<cMSEndpoint> cMSEndpoint::find(const String& rootAddress) {
    return held(mySensors::AddressIndex->find(rootAddress.view()));
}

cMSEndpoint* cMSEndpoint::find(Integer node, Integer child) {
    // Nothing but endpoints ever enters.
    return static_cast<cMSEndpoint*>(mySensors::AddressIndex->at(node, child));
}

void cMSEndpoint::prefetch(std::string_view next, std::string_view afterNext) noexcept {
    const auto* index = mySensors::AddressIndex.get();
    if (index == nullptr)
        return;
    const Integer laterNode = takeNumber(afterNext);
    index->prefetch(laterNode, takeNumber(afterNext));
    const Integer node = takeNumber(next);
    __builtin_prefetch(index->at(node, takeNumber(next)));
}

Ref<cMSEndpoint> cMSEndpoint::create(Integer node, Integer child, Integer) {
    auto endpoint = Ref<cMSEndpoint>::make(node, child);
    endpoint->enter();
    return endpoint;
}

cMSEndpoint::cMSEndpoint(Integer node, Integer child)
    : nodeID(node), RootIndexString(mySensors::rootAddressOf(node, child)),
      subUnits(Ref<Dictionary>::make(std::size_t{1})), childID(child) {
}

void cMSEndpoint::enter() {
    const Ref<cMSEndpoint> self(this);
    const bool isNode = childID == mySensors::kNodeLevelChild;
    HearthixSupport::WriteLog(
        isNode ? concat("creating unit at node level for node: ", Globals::formatHexOfLowByte(nodeID))
               : concat("creating child object at Address: ", RootIndexString));
    mySensors::AddressIndex->enter(nodeID, childID, self);
    if (isNode)
        return;
    cMSEndpoint* node = find(nodeID, mySensors::kNodeLevelChild);
    if (node == nullptr)
        throw KeyNotFoundException();
    node->subUnits->SetValue(RootIndexString, self);
}

} // namespace hearthix
