#include "hostlink/UnitRequest.hpp"

#include "hostlink/cHearthixDeviceSocket.hpp"

namespace hearthix {

void CommandSupportModule::GetUnitsFromHearthix() {
    cHearthixCommand request;
    request.SetMulti("mcmd", "getUnits");
    HearthixSupport::HearthixSocket->SendCommand(request);
}

} // namespace hearthix
