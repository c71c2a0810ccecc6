// The test bed of the stream targets: the driver's objects in their state after start-up, one end of a socket
// pair instead of the host, a watched port instead of the gateway's, and a clock that moves only when a
// target moves it.
//
// Each run has its own Rig. The destructor resets every global of the driver to its value in a new process,
// so that runs do not depend on each other.
#pragma once

#include "fuzz/Require.hpp"
#include "gateway/cMySensors.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "ports/iAbstractPort.hpp"
#include "tests/support/Packets.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

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
    Rig(const Ref<cHearthixDeviceSocket>& socket, const Ref<cMySensors>& driver);
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;
    ~Rig();

    // The driver reads the bytes with its next poll. They must fit into the system's buffer.
    void hostWrites(std::string_view bytes) const;
    // Runs the event loop once; then the host reads everything that the driver has written.
    void serve();
    // Everything that the driver has written, as packets. Requires each to be well-formed.
    test::Packets packetsToHost();
    // Moves the wall clock forward.
    static void pass(std::int64_t seconds);

    Ref<WatchedPort> port;

private:
    void hostReads();

    int host_ = -1;
    std::string received_;
};

// An input: a line that describes how the stream arrives (each target has its own form), and the stream.
struct Input {
    Input(const std::uint8_t* data, std::size_t size);

    std::string_view control;
    std::string_view stream;
};

} // namespace hearthix::fuzz
