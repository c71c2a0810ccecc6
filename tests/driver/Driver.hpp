// The driver's parts without its process: a host socket whose other end the test holds.
#pragma once

#include "endpoints/cMSEndpoint.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/VarTypeConverter.hpp"
#include "shell/log/Globals.hpp"
#include "tests/runtime/Links.hpp"
#include "tests/runtime/Rows.hpp"
#include "tests/support/Packets.hpp"
#include "tests/support/Pages.hpp"

#include <string>

namespace hearthix {

class DriverTest : public testing::Test {
protected:
    DriverTest() {
        Globals::DebugMode = Globals::DoQuit = false;
        mySensors::AddressIndex = Ref<mySensors::AddressTable>::make();
        mySensors::createVarTypeConverter();
        HearthixSupport::HearthixSocket =
            Ref<cHearthixDeviceSocket>::make([](const Ref<cHearthixCommand>&) {});
        HearthixSupport::logToHost();
        host_.pairWith(*HearthixSupport::HearthixSocket);
    }
    ~DriverTest() override { HearthixSupport::HearthixSocket = nullptr; }

    // What has been sent to the host since the last call.
    test::Packets sent() {
        HearthixSupport::HearthixSocket->Flush();
        return test::packetsIn(host_.take());
    }

    Peer host_;
};

} // namespace hearthix
