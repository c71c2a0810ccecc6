#include "mysensors/AddressIndex.hpp"

#include "mysensors/Vocabulary.hpp"
#include "shell/Globals.hpp"

namespace hearthix {

Ref<Dictionary> mySensors::AddressIndex;

String mySensors::rootAddressOf(Integer node, Integer child) {
    return concat(Globals::formatHexOfLowByte(node), Globals::formatHexOfLowByte(child));
}

String mySensors::nodeAddressOf(Integer node) {
    return rootAddressOf(node, kNodeLevelChild);
}

} // namespace hearthix
