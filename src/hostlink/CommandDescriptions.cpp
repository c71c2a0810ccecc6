// Readable texts for a record. The lists contain the powerline and wireless commands of the common message,
// many more than this driver handles.
#include "hostlink/cHearthixCommand.hpp"
#include "hostlink/objCommandSupport.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix {

namespace {

// Each list contains a code of one character, a blank and its text per entry.

constexpr const char* kPanAndTilt =
    "L center|M center with program|` pan left|A pan right|D position 1|E program position 1|"
    "F position 2|G program position 2|H position 3|I program position 3|J position 4|"
    "K program position 4|N sweep|O program sweep|C tilt down|B tilt up";

constexpr const char* kController =
    "O Open a Port|C Close a port|R R|P Ping|Q polite interface shutdown command|"
    "D Toggle the Debug State|X Send Raw Data|A Turn off monitor mode|"
    "B Set base house code for LynxX-Port|S Sample All Analogs|M Turn ON monitor only mode|"
    "F Set time filter for de-bouncing|G Disable Wireless security events|"
    "I Resume normal wireless processing|E Enable Wireless security events|"
    "H Enable Wireless Stealth Mode|V Set receiver sensitivity|L Set transmitter output amplitude";

constexpr const char* kUnit =
    "0 All Units Off|1 All Lights On|2 ON|3 OFF|4 DIM|5 BRIGHT|6 All Lights Off|7 Extended Code|"
    "8 Hail Request|9 Hail Ack|A Preset Dim 0|B Preset Dim 1|C Extended Data|D Status On|E Status Off|"
    "F Status Request";

constexpr const char* kErrors =
    "1 Powerline reception error|2 Bad command received from Mac|3 Bad data received from Mac|"
    "4 X10 collision detected during transmission|5 Powerline transmission failure (time out)|"
    "6 Lost transmission echoes from TW523|7 Receive overrun of data from Mac|"
    "8 Power Failure at controller|9 Power restored at controller";

constexpr const char* kHeaders = "X Development (X)|Y Development (Y)|L Direct log: (L)|E isf error: (E)|"
                                 "A shell echo of packet, ignored: ( A)";

// Returns the text of a code, or an empty string.
String lookUp(const String& list, const String& code) {
    for (const String& entry : Split(list, "|"))
        if (Left(entry, 1) == code)
            return Mid(entry, 3);
    return {};
}

String unknownCode(const String& what, const String& code) {
    return concat("UNKNOWN ", what, " CODE: (", code, ") 0x", Hex(AscB(code)));
}

// Each piece is the state of one flag and the label of the next one. "CMM" and the uneven blanks are part of
// the format (sic).
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
        const String text = lookUp(kPanAndTilt, Command);
        return text.empty() ? concat("UNKNOWN Ninja command (", Hex(AscB(Command)), ")") : text;
    }
    if (fCCM) {
        const String text = lookUp(kController, Command);
        return text.empty() ? "Unknown CCM code" : text;
    }
    // All codes of security sensors are empty, so an empty command equals the first one. The texts of the
    // other codes ("Alarm Condition", "MOTION", "no motion") are never used.
    if (Command == objCommandSupport::kCommSecurityMinSafe)
        return "Safe Condition";
    const String text = lookUp(kUnit, Command);
    return text.empty() ? unknownCode("COMMAND", Command) : text;
}

String cHearthixCommand::GetErrorCodeDescription() const {
    const String text = lookUp(kErrors, Code);
    return text.empty() ? unknownCode("ERROR", Code) : text;
}

String cHearthixCommand::GetLogLine() const {
    return concat(fStacked ? "stacked " : "", GetCommandCodeDescription(), " for address ", GetHouseCode(),
                  GetUnitCode(), fWireless ? " (W)" : "");
}

String cHearthixCommand::DebugString() const {
    const String header = lookUp(kHeaders, Header);
    const String lineEnd = Chr(13);
    const String margin = "       ";
    const String next = lineEnd + margin;
    return concat("Packet Debug: ", TimeStamp.LongTime(), " ", TimeStamp.ShortDate(), //
                  next, "Header: ", header.empty() ? concat("UNKNOWN (", Header, ")") : header, next,
                  "Packet Length: ", Str(PacketLength), " RealLength: ", Str(LenB(RawCommonCommand)), next,
                  "Version: ", Version,                                      //
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
