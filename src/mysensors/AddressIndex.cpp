#include "mysensors/AddressIndex.hpp"

namespace hearthix {

Ref<Dictionary> mySensors::AddressIndex;

} // namespace hearthix
