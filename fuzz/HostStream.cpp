// Fuzz target: the host's byte stream, through the real socket. The driver knows two nodes, and a third node
// waits for its ID.
//
// The first line of an input lists the sizes of the pieces: each byte after the first one is a size. The
// sizes are used in turn. A piece arrives when the driver has handled the previous one, or earlier, when the
// driver sends a line to the gateway. In the latter case the data event for the previous piece is still
// running.
//
// Two early ends of a run are expected. Some streams keep the driver's loop busy without end: this target has
// its own code for the framing, detects such a stream before the loop starts, and ends the run. A packet
// without entries raises NilObjectException. Nothing else may raise an exception.
#include "fuzz/Rig.hpp"
#include "shell/CommandDispatch.hpp"
#include "sim/PacketLength.hpp"

#include <algorithm>
#include <utility>

namespace hearthix::fuzz {

namespace {

unsigned byteAt(std::string_view bytes, std::size_t offset) {
    return offset < bytes.size() ? static_cast<unsigned char>(bytes[offset]) : 0U;
}

bool isOneOf(char letter, std::string_view letters) {
    return letters.find(letter) != std::string_view::npos;
}

// Whether the packet is a log packet, or a common message that is not for the driver itself.
bool hasNoEntries(std::string_view packet) {
    return !isOneOf(packet[0], "Jj") && (isOneOf(packet[0], "Ll") || (byteAt(packet, 6) & 0x40U) == 0);
}

struct EndlessTurn {};

// One run: the pieces that are not sent yet, the piece in the socket, the bytes in the driver's buffer, and
// the packet that the driver handles.
struct Run {
    bool done() const { return rest.empty() && sent.empty(); }
    void send() {
        if (rest.empty() || !sent.empty())
            return;
        const std::size_t size = sizes.empty() ? rest.size() : byteAt(sizes, turn++ % sizes.size());
        sent = rest.substr(0, std::max<std::size_t>(size, 1));
        rest.remove_prefix(sent.size());
        rig.hostWrites(sent);
    }

    std::string_view sizes;
    std::string_view rest;
    Rig& rig;
    std::string_view sent = {};
    std::size_t turn = 0;
    std::string held = {}; // the bytes in the driver's buffer
    std::string handling = {};
};

Run* run = nullptr;

// Called before each pass of the driver's loop. Throws if that pass would never end. Removes malformed
// packets, as the driver does before it handles the next packet.
void leaveEndlessTurn(std::string& held) {
    while (!held.empty()) {
        const bool multipacket = held.size() > 4 && isOneOf(held[0], "Jj");
        const std::size_t length = multipacket ? sim::packetLength(held) : byteAt(held, 1);
        if (length == 0 || (length > held.size() && !multipacket))
            throw EndlessTurn();
        if (multipacket || isOneOf(held[0], "XYLMNxylmn"))
            return;
        held.erase(0, length);
    }
}

void handleChecked(const Ref<cHearthixCommand>& command) {
    const std::string packet(command->RawCommonCommand.view());
    require(run->held.starts_with(packet), "a packet has the bytes that the framing defines");
    run->held.erase(0, packet.size());
    run->handling = packet;
    CommandSupportModule::HandleIncomingCommand(command);
    require(!hasNoEntries(packet), "a packet without entries raises an exception");
    leaveEndlessTurn(run->held);
}

class CheckedSocket : public cHearthixDeviceSocket {
public:
    using cHearthixDeviceSocket::cHearthixDeviceSocket;

    void Event_DataAvailable() override {
        run->held += std::exchange(run->sent, {});
        leaveEndlessTurn(run->held);
        cHearthixDeviceSocket::Event_DataAvailable();
    }
};

void runInput(const Input& input) {
    static const String kPrelude("10;3;1;0;0;21.5\n10;3;1;0;2;1\n11;1;1;0;3;50\n10;255;3;0;0;80\n"
                                 "255;255;3;0;3;\n");
    const auto driver = Ref<cMySensors>::make();
    Rig rig(Ref<CheckedSocket>::make(&handleChecked), driver);
    Run present{input.control.substr(std::min<std::size_t>(input.control.size(), 1)), input.stream, rig};
    run = &present;
    rig.port->onSend = [](std::string_view) { run->send(); };
    driver->PortDataAvailable(kPrelude);
    try {
        while (!present.done()) {
            present.send();
            rig.serve();
        }
    } catch (const EndlessTurn&) {
    } catch (const NilObjectException&) {
        require(hasNoEntries(present.handling), "only a packet without entries ends the driver");
    }
    rig.requireWholePackets();
}

} // namespace

} // namespace hearthix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A piece must fit into the buffer of the socket pair.
    if (size <= 65536)
        hearthix::fuzz::runInput(hearthix::fuzz::Input(data, size));
    return 0;
}
