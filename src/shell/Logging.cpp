#include "shell/Logging.hpp"

#include "hostlink/cHearthixDeviceSocket.hpp"

namespace hearthix {

void Globals::writelog(const String& message, Integer level) {
    constexpr int kPolls = 3;
    HearthixSupport::HearthixSocket->SendLog(message, level);
    for (int i = 0; i < kPolls; ++i)
        HearthixSupport::HearthixSocket->Poll();
}

void HearthixSupport::WriteLog(const String& message) {
    Globals::writelog(message, 2);
}

} // namespace hearthix
