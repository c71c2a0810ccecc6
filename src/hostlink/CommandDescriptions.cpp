// A record as readable text. The tables cover the powerline and wireless commands of the common message in
// general, far more than this driver acts on.
#include "hostlink/cHearthixCommand.hpp"
#include "hostlink/objCommandSupport.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <array>
#include <span>

namespace hearthix {

namespace {

struct Description {
    std::string_view code;
    const char* text;
};

constexpr std::array<Description, 16> kPanAndTilt{{{"L", "center"},
                                                   {"M", "center with program"},
                                                   {"`", "pan left"},
                                                   {"A", "pan right"},
                                                   {"D", "position 1"},
                                                   {"E", "program position 1"},
                                                   {"F", "position 2"},
                                                   {"G", "program position 2"},
                                                   {"H", "position 3"},
                                                   {"I", "program position 3"},
                                                   {"J", "position 4"},
                                                   {"K", "program position 4"},
                                                   {"N", "sweep"},
                                                   {"O", "program sweep"},
                                                   {"C", "tilt down"},
                                                   {"B", "tilt up"}}};

constexpr std::array<Description, 18> kController{{{"O", "Open a Port"},
                                                   {"C", "Close a port"},
                                                   {"R", "R"},
                                                   {"P", "Ping"},
                                                   {"Q", "polite interface shutdown command"},
                                                   {"D", "Toggle the Debug State"},
                                                   {"X", "Send Raw Data"},
                                                   {"A", "Turn off monitor mode"},
                                                   {"B", "Set base house code for LynxX-Port"},
                                                   {"S", "Sample All Analogs"},
                                                   {"M", "Turn ON monitor only mode"},
                                                   {"F", "Set time filter for de-bouncing"},
                                                   {"G", "Disable Wireless security events"},
                                                   {"I", "Resume normal wireless processing"},
                                                   {"E", "Enable Wireless security events"},
                                                   {"H", "Enable Wireless Stealth Mode"},
                                                   {"V", "Set receiver sensitivity"},
                                                   {"L", "Set transmitter output amplitude"}}};

constexpr std::array<Description, 16> kUnit{{{"0", "All Units Off"},
                                             {"1", "All Lights On"},
                                             {"2", "ON"},
                                             {"3", "OFF"},
                                             {"4", "DIM"},
                                             {"5", "BRIGHT"},
                                             {"6", "All Lights Off"},
                                             {"7", "Extended Code"},
                                             {"8", "Hail Request"},
                                             {"9", "Hail Ack"},
                                             {"A", "Preset Dim 0"},
                                             {"B", "Preset Dim 1"},
                                             {"C", "Extended Data"},
                                             {"D", "Status On"},
                                             {"E", "Status Off"},
                                             {"F", "Status Request"}}};

constexpr std::array<Description, 9> kErrors{{{"1", "Powerline reception error"},
                                              {"2", "Bad command received from Mac"},
                                              {"3", "Bad data received from Mac"},
                                              {"4", "X10 collision detected during transmission"},
                                              {"5", "Powerline transmission failure (time out)"},
                                              {"6", "Lost transmission echoes from TW523"},
                                              {"7", "Receive overrun of data from Mac"},
                                              {"8", "Power Failure at controller"},
                                              {"9", "Power restored at controller"}}};

constexpr std::array<Description, 5> kHeaders{{{"X", "Development (X)"},
                                               {"Y", "Development (Y)"},
                                               {"L", "Direct log: (L)"},
                                               {"E", "isf error: (E)"},
                                               {"A", "shell echo of packet, ignored: ( A)"}}};

// The text of a code, or null.
const char* lookUp(std::span<const Description> table, const String& code) {
    for (const Description& row : table)
        if (RuntimeStringCompare(row.code, code))
            return row.text;
    return nullptr;
}

// The codes of security sensors are all empty, so that an empty command is the first of them and the others
// ("Alarm Condition", "MOTION", "no motion") never come up.
const char* lookUpSecurity(const String& code) {
    return code == objCommandSupport::kCommSecurityMinSafe ? "Safe Condition" : nullptr;
}

String unknownCode(const String& what, const String& code) {
    return concat("UNKNOWN ", what, " CODE: (", code, ") 0x", Hex(AscB(code)));
}

// The state of each flag comes before the next one's label. The spelling is uneven, and hosts show it that
// way.
String describeFlags(const cHearthixCommand& command) {
    return concat("DoTrans:", command.fDoTransmit ? "1  CCM:" : "0  CMM:",
                  command.fCCM ? "1  AddressOnly:" : "0  AddressOnly:",
                  command.fAddressOnly ? "1  CommandOnly:" : "0  CommandOnly:",
                  command.fCommandOnly ? "1  Wireless:" : "0  Wireless:",
                  command.fWireless ? "1 Pass:" : "0  Pass:", command.fPassThrough ? "1" : "0");
}

} // namespace

String cHearthixCommand::GetCommandCodeDescription() const {
    if (Header == "N") {
        const char* text = lookUp(kPanAndTilt, Command);
        return text != nullptr ? String(text) : concat("UNKNOWN Ninja command (", Hex(AscB(Command)), ")");
    }
    if (fCCM) {
        const char* text = lookUp(kController, Command);
        return text != nullptr ? text : "Unknown CCM code";
    }
    const char* text = lookUp(kUnit, Command);
    if (text == nullptr)
        text = lookUpSecurity(Command);
    return text != nullptr ? String(text) : unknownCode("COMMAND", Command);
}

String cHearthixCommand::GetErrorCodeDescription() const {
    const char* text = lookUp(kErrors, Code);
    return text != nullptr ? String(text) : unknownCode("ERROR", Code);
}

String cHearthixCommand::GetLogLine() const {
    return concat(fStacked ? "stacked " : "", GetCommandCodeDescription(), " for address ", GetHouseCode(),
                  GetUnitCode(), fWireless ? " (W)" : "");
}

String cHearthixCommand::DebugString() const {
    const char* header = lookUp(kHeaders, Header);
    const String lineEnd = Chr(13);
    const String margin = "       ";
    const String next = lineEnd + margin;
    return concat("Packet Debug: ", TimeStamp.LongTime(), " ", TimeStamp.ShortDate(), //
                  next, "Header: ", header != nullptr ? String(header) : concat("UNKNOWN (", Header, ")"),
                  next, "Packet Length: ", Str(PacketLength), " RealLength: ", Str(LenB(RawCommonCommand)),
                  next, "Version: ", Version,                                //
                  next, "Transaction ID: ", Str(TransactionID),              //
                  next, "InterfaceType: ", InterfaceType,                    //
                  next, "UnitClass: ", UnitClass,                            //
                  next, "Code: ", Code,                                      //
                  next, "Command: ", GetCommandCodeDescription(),            //
                  next, "Address: ", GetHouseCode(), GetUnitCode(),          //
                  next, "Level: ", Str(level), margin, describeFlags(*this), //
                  next, "raw command:(", RawCommonCommand, ")", lineEnd);
}

} // namespace hearthix
