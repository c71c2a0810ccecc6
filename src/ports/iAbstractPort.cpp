#include "ports/iAbstractPort.hpp"

namespace hearthix {

Ref<iAbstractPort> Globals::gAbstractedPort;

} // namespace hearthix
