// The gateway's byte stream, in whatever pieces, with silences, watchdog alarms and host commands in between.
//
// An input's first line is a list of steps, used in turn: "!" is a silence of six seconds, "*" the watchdog's
// alarm, "0" to "5" a packet from the host that waits for the driver's next poll. Every step then brings a
// piece of the stream, as many bytes as the step's own value is.
#include "fuzz/Rig.hpp"
#include "gateway/cPingTimer.hpp"
#include "shell/CommandDispatch.hpp"

#include <algorithm>

namespace hearthix::fuzz {

namespace {

class CheckedDriver : public cMySensors {
public:
    std::string last; // line

    void HandleMSCommand(const String& line) override {
        require(line.view().find('\n') == std::string_view::npos, "a line ends with its line feed");
        last = line.view();
        cMySensors::HandleMSCommand(line);
    }
};

// The one line that ends the driver: the battery level of a child whose node isn't known.
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
        require(isOrphansBattery(driver->last), "nothing else ends the driver");
    }
    rig.packetsToHost();
}

} // namespace

} // namespace hearthix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    hearthix::fuzz::run(hearthix::fuzz::Input(data, size));
    return 0;
}
