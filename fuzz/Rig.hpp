// The test bed of the stream targets: the driver's objects in their state after start-up, one end of a socket
// pair instead of the host, a watched port instead of the gateway's, and a clock that moves only when a
// target moves it.
//
// Each run has its own Rig. The destructor resets every global of the driver to its value in a new process,
// so that runs do not depend on each other.
#pragma once

#include "endpoints/cMSEndpoint.hpp"
#include "fuzz/Require.hpp"
#include "gateway/cMySensors.hpp"
#include "gateway/cPingTimer.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/VarTypeConverter.hpp"
#include "ports/iAbstractPort.hpp"
#include "runtime/events/EventLoop.hpp"
#include "runtime/values/Clock.hpp"
#include "shell/log/Globals.hpp"
#include "tests/support/Packets.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include <sys/socket.h>
#include <unistd.h>

namespace hearthix::fuzz {

class WatchedPort : public iAbstractPort {
public:
    std::function<void(std::string_view)> onSend;

    void PortSetParent(const Ref<iAbstractPortReceiver>&) override {}
    void PortSendData(const String& data) override { onSend(data); }
    bool PortOpen() override { return true; }
    void PortClose() override {}
    void PortClear() override {}
    void PortFlush() override {}
    void PortPoll() override {}
    void PortXmitWait() override {}
};

class Rig {
public:
    Rig(const Ref<cHearthixDeviceSocket>& socket, const Ref<cMySensors>& driver) {
        std::array<int, 2> ends{};
        require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0,
                "there are sockets left");
        host_ = ends[0];
        socket->adopt(ends[1]);
        now_ = 1'700'000'000 * clocks::kSecond;
        clocks::replaceWallClock([] { return now_; });
        if (mySensors::varTypeConverter.isNil())
            mySensors::createVarTypeConverter();
        HearthixSupport::HearthixSocket = socket;
        HearthixSupport::logToHost();
        mySensors::AddressIndex = Ref<mySensors::AddressTable>::make();
        Globals::gAbstractedPort = port;
        Globals::gMySensors = driver;
    }
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;
    ~Rig() {
        // A child with the number of its node, modulo 256, is an entry of its own table: a cycle of
        // references.
        for (Integer i = 0; i < mySensors::AddressIndex->Count(); ++i)
            mySensors::AddressIndex->ValueAt(i).objectAs<cMSEndpoint>()->subUnits = nullptr;
        mySensors::AddressIndex = nullptr;
        mySensors::gPingTimer = nullptr;
        Globals::gMySensors = nullptr;
        Globals::gAbstractedPort = nullptr;
        HearthixSupport::HearthixSocket = nullptr;
        HearthixSupport::gSignalStrength = 0;
        Globals::DebugMode = false;
        Globals::DoQuit = false;
        close(host_);
        // The loop removes the entries of destroyed sources when it runs.
        EventLoop::instance().run(0);
    }

    // The driver reads the bytes with its next poll. They must fit into the system's buffer.
    void hostWrites(std::string_view bytes) const {
        const ssize_t written = send(host_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        require(written == static_cast<ssize_t>(bytes.size()), "the driver has read what came before");
    }
    // Runs the event loop once; then the host reads everything that the driver has written.
    void serve() {
        EventLoop::instance().run(0);
        hostReads();
    }
    // Everything that the driver has written consists of well-formed packets.
    void requireWholePackets() {
        hostReads();
        for (const test::Packet& packet : test::packetsIn(received_))
            require(test::isWhole(packet), "a packet to the host is as long as it says");
    }
    // Moves the wall clock forward.
    static void pass(std::int64_t seconds) { now_ += seconds * clocks::kSecond; }

    Ref<WatchedPort> port = Ref<WatchedPort>::make();

private:
    void hostReads() {
        static std::array<char, 65536> buffer;
        bool more = true;
        while (more) {
            HearthixSupport::HearthixSocket->Flush();
            const ssize_t got = recv(host_, buffer.data(), buffer.size(), 0);
            more = got > 0;
            if (more)
                received_.append(buffer.data(), static_cast<std::size_t>(got));
        }
        require(HearthixSupport::HearthixSocket->unsentBytes() == 0, "a host that reads gets everything");
    }

    inline static clocks::Nanoseconds now_ = 0;
    int host_ = -1;
    std::string received_;
};

// An input: a line that describes how the stream arrives (each target has its own form), and the stream.
struct Input {
    Input(const std::uint8_t* data, std::size_t size) : stream(reinterpret_cast<const char*>(data), size) {
        control = stream.substr(0, stream.find('\n'));
        stream.remove_prefix(std::min(control.size() + 1, stream.size()));
    }

    std::string_view control;
    std::string_view stream;
};

} // namespace hearthix::fuzz
