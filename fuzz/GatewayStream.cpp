// Fuzz target: the gateway's byte stream in pieces of any size, with silences, watchdog alarms and host
// commands between them.
//
// The first line of an input is a list of steps, which are used in turn. "!" is a silence of six seconds, "*"
// is the watchdog's alarm, and "0" to "5" are packets from the host, which the driver reads with its next
// poll. After each step a piece of the stream arrives. The byte value of the step is the size of the piece.
#include "fuzz/Rig.hpp"
#include "shell/CommandDispatch.hpp"

#include <algorithm>

namespace hearthix::fuzz {

namespace {

class CheckedDriver : public cMySensors {
public:
    std::string last; // the latest line

    void HandleMSCommand(const String& line) override {
        require(line.view().find('\n') == std::string_view::npos, "a line ends with its line feed");
        last = line.view();
        cMySensors::HandleMSCommand(line);
    }
};

// Whether the line is the battery level of a child. No other line ends the driver; this one does if the node
// is unknown.
bool isOrphansBattery(const std::string& line) {
    const cMSCommand command{String(line)};
    return command.good && command.messageType == 3 && command.SubType == 0 && command.childID != 255;
}

void checkLineToGateway(std::string_view line) {
    require(std::count(line.begin(), line.end(), ';') == 5, "a line to the gateway has six fields");
    require(line.find('\n') == line.size() - 1, "a line to the gateway ends with its one line feed");
}

std::string hostPacket(char step) {
    using test::multipacket;
    const std::string packets[]{multipacket({{"mcmd", "debug"}, {"Valu", "true"}}),
                                multipacket({{"mcmd", "debug"}, {"Valu", "false"}}),
                                multipacket({{"mcmd", "ON"}, {"addr", "0A03.STATUS"}}),
                                multipacket({{"mcmd", "SetValue"}, {"addr", "123.DIMMER"}, {"Valu", "7"}}),
                                multipacket({{"mcmd", "Qery"}, {"addr", "0B01.TEMP"}}),
                                test::unitsPacket(std::vector<std::string>{"0A03.TEMP"})};
    return packets[step - '0'];
}

void doStep(char step, const Rig& rig) {
    if (step == '!')
        Rig::pass(6);
    else if (step == '*' && mySensors::gPingTimer)
        mySensors::gPingTimer->Event_Action();
    else if (step >= '0' && step <= '5')
        rig.hostWrites(hostPacket(step));
}

void deliver(const Input& input, Rig& rig, CheckedDriver& driver) {
    std::string_view rest = input.stream;
    for (std::size_t turn = 0; !rest.empty(); ++turn) {
        const char step = input.control.empty() ? '\xFF' : input.control[turn % input.control.size()];
        doStep(step, rig);
        const std::string_view piece =
            rest.substr(0, std::max<unsigned char>(static_cast<unsigned char>(step), 1));
        rest.remove_prefix(piece.size());
        driver.PortDataAvailable(String(piece));
        rig.serve();
    }
}

void run(const Input& input) {
    const auto driver = Ref<CheckedDriver>::make();
    Rig rig(Ref<cHearthixDeviceSocket>::make(&CommandSupportModule::HandleIncomingCommand), driver);
    rig.port->onSend = checkLineToGateway;
    try {
        deliver(input, rig, *driver);
    } catch (const KeyNotFoundException&) {
        require(isOrphansBattery(driver->last), "only the battery level of a child ends the driver");
    }
    rig.requireWholePackets();
}

} // namespace

} // namespace hearthix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    hearthix::fuzz::run(hearthix::fuzz::Input(data, size));
    return 0;
}
