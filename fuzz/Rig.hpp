// What the stream targets share: the driver's objects wired up as at start-up, one end of a socket pair in
// place of the host, a watched port in place of the gateway's, and a clock that stands still.
//
// Each run makes a Rig of its own. Its destructor puts every global of the driver back to where a fresh
// process has it, so that no run sees another one's.
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

    // The driver reads the bytes with its next poll. They must be few enough for the system's buffer.
    void hostWrites(std::string_view bytes) const;
    // A pass of the event loop, behind which the host takes in what the driver has written.
    void serve();
    // All that the driver has written, cut into packets. Requires each to be well-formed.
    test::Packets packetsToHost();
    // Puts the wall clock forward.
    static void pass(std::int64_t seconds);

    Ref<WatchedPort> port;

private:
    void hostReads();

    int host_ = -1;
    std::string received_;
};

// An input: a line that says how the stream arrives, as each target has it, and the stream.
struct Input {
    Input(const std::uint8_t* data, std::size_t size);

    std::string_view control;
    std::string_view stream;
};

} // namespace hearthix::fuzz
