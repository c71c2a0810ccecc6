// The host's byte stream, through the real socket, into a driver that knows two nodes and has one that waits
// for its ID.
//
// An input's first line tells the pieces: the value of each byte behind the first is the size of one, used in
// turn. A piece arrives when the driver is done with the one before, or while it sends a line to the
// gateway: the rest of that event then runs into it.
//
// Two ends are known and expected. A stream that keeps the driver turning without end is recognised ahead of
// that turn, by the rules of framing told once more, and left there. A packet without entries raises
// NilObjectException, and nothing else may raise anything.
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

// A common message that is no command for the driver itself.
bool hasNoEntries(std::string_view packet) {
    return !isOneOf(packet[0], "Jj") && (isOneOf(packet[0], "Ll") || (byteAt(packet, 6) & 0x40U) == 0);
}

struct EndlessTurn {};

// One run: the pieces still to come, the one under way, what the driver has, and the packet it handles.
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
    std::string held = {}; // by the driver's socket
    std::string handling = {};
};

Run* run = nullptr;

// Called where the driver's loop is about to go on; what is malformed it drops ahead of the next packet.
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
    require(run->held.starts_with(packet), "a packet is what the framing cuts out");
    run->held.erase(0, packet.size());
    run->handling = packet;
    CommandSupportModule::HandleIncomingCommand(command);
    require(!hasNoEntries(packet), "a packet without entries isn't handled");
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
    rig.packetsToHost();
}

} // namespace

} // namespace hearthix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A piece must fit into the socket pair.
    if (size <= 65536)
        hearthix::fuzz::runInput(hearthix::fuzz::Input(data, size));
    return 0;
}
