// The parts of the driver without its process: the test is the host, the gateway and the clock.
#pragma once

#include "gateway/cMySensors.hpp"
#include "gateway/cPingTimer.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/VarTypeConverter.hpp"
#include "runtime/values/Clock.hpp"
#include "shell/log/Globals.hpp"
#include "tests/runtime/Links.hpp"
#include "tests/runtime/Rows.hpp"
#include "tests/support/Packets.hpp"
#include "tests/support/Pages.hpp"

namespace hearthix {

class RecordingPort : public iAbstractPort {
public:
    std::string lines;

    void PortSendData(const String& data) override { lines += data.view(); }
    void PortSetParent(const Ref<iAbstractPortReceiver>&) override {}
    bool PortOpen() override { return true; }
    void PortClose() override {}
    void PortClear() override {}
    void PortFlush() override {}
    void PortPoll() override {}
    void PortXmitWait() override {}
};

class DriverTest : public testing::Test {
protected:
    DriverTest() {
        Globals::DebugMode = Globals::DoQuit = false;
        mySensors::AddressIndex = Ref<mySensors::AddressTable>::make();
        mySensors::createVarTypeConverter();
        Globals::gAbstractedPort = gateway_;
        Globals::gMySensors = driver_;
        HearthixSupport::HearthixSocket =
            Ref<cHearthixDeviceSocket>::make([](const Ref<cHearthixCommand>&) {});
        HearthixSupport::logToHost();
        host_.pairWith(*HearthixSupport::HearthixSocket);
    }
    ~DriverTest() override {
        HearthixSupport::HearthixSocket = nullptr;
        Globals::gAbstractedPort = nullptr;
        Globals::gMySensors = nullptr;
        mySensors::gPingTimer = nullptr;
        clocks::setSourceForTest({});
    }

    // Returns what was sent to the host since the last call.
    test::Packets sent() {
        HearthixSupport::HearthixSocket->Flush();
        return test::packetsIn(host_.take());
    }
    // Stops both clocks at `now`, in seconds.
    static void stopClocks(std::int64_t seconds) {
        now = seconds;
        clocks::setSourceForTest({.monotonic = [] { return now * clocks::kSecond; },
                                  .wall = [] { return now * clocks::kSecond; }});
    }

    inline static std::int64_t now = 0;
    Peer host_;
    Ref<RecordingPort> gateway_ = Ref<RecordingPort>::make();
    Ref<cMySensors> driver_ = Ref<cMySensors>::make();
};

} // namespace hearthix
