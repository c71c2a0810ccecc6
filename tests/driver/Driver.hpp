// The driver's parts without its process: a host socket whose other end the test holds, and a port that keeps
// what is sent.
#pragma once

#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/AddressIndex.hpp"
#include "mysensors/VarTypeConverter.hpp"
#include "ports/iAbstractPort.hpp"
#include "shell/Globals.hpp"
#include "tests/runtime/Links.hpp"
#include "tests/runtime/Rows.hpp"
#include "tests/support/Packets.hpp"

#include <string>

namespace hearthix {

class NotedPort : public iAbstractPort {
public:
    std::string sent;

    void PortSetParent(const Ref<iAbstractPortReceiver>&) override {}
    void PortSendData(const String& data) override { sent += data.view(); }
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
        Globals::gAbstractedPort = port_;
        mySensors::AddressIndex = Ref<mySensors::AddressTable>::make();
        mySensors::createVarTypeConverter();
        HearthixSupport::HearthixSocket =
            Ref<cHearthixDeviceSocket>::make([](const Ref<cHearthixCommand>&) {});
        host_.pairWith(*HearthixSupport::HearthixSocket);
    }
    ~DriverTest() override {
        HearthixSupport::HearthixSocket = nullptr;
        Globals::gAbstractedPort = nullptr;
    }

    // What has been sent to the host since the last call.
    test::Packets sent() {
        HearthixSupport::HearthixSocket->Flush();
        const std::string bytes = host_.take();
        test::Packets packets;
        for (std::size_t at = 0; at < bytes.size();) {
            const std::size_t length = test::packetLength(std::string_view(bytes).substr(at));
            packets.push_back({bytes.substr(at, length)});
            at = length == 0 ? bytes.size() : at + length;
        }
        return packets;
    }

    Peer host_;
    Ref<NotedPort> port_ = Ref<NotedPort>::make();
};

} // namespace hearthix
