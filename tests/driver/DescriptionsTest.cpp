#include "hostlink/cHearthixCommand.hpp"
#include "runtime/Clock.hpp"
#include "runtime/StringFunctions.hpp"
#include "tests/runtime/Rows.hpp"

#include <string>

#include <stdlib.h>
#include <time.h>

namespace hearthix {
namespace {

constexpr const char* kMoves =
    "center|center with program|pan left|pan right|position 1|program position 1|position 2|"
    "program position 2|position 3|program position 3|position 4|program position 4|sweep|"
    "program sweep|tilt down|tilt up|UNKNOWN Ninja command (5A)";
constexpr const char* kController =
    "Open a Port|Close a port|R|Ping|polite interface shutdown command|Toggle the Debug State|"
    "Send Raw Data|Turn off monitor mode|Set base house code for LynxX-Port|Sample All Analogs|"
    "Turn ON monitor only mode|Set time filter for de-bouncing|Disable Wireless security events|"
    "Resume normal wireless processing|Enable Wireless security events|Enable Wireless Stealth Mode|"
    "Set receiver sensitivity|Set transmitter output amplitude|Unknown CCM code";
constexpr const char* kUnit =
    "All Units Off|All Lights On|ON|OFF|DIM|BRIGHT|All Lights Off|Extended Code|Hail Request|"
    "Hail Ack|Preset Dim 0|Preset Dim 1|Extended Data|Status On|Status Off|Status Request|"
    "UNKNOWN COMMAND CODE: (Z) 0x5A";
constexpr const char* kErrors =
    "Powerline reception error|Bad command received from Mac|Bad data received from Mac|"
    "X10 collision detected during transmission|Powerline transmission failure (time out)|"
    "Lost transmission echoes from TW523|Receive overrun of data from Mac|"
    "Power Failure at controller|Power restored at controller|UNKNOWN ERROR CODE: (0) 0x30";
constexpr const char* kDebug =
    "Packet Debug: 9:05:02 2021-03-07|Header: Development (X)|Packet Length: 46 RealLength: 12|"
    "Version: a|Transaction ID: 64|InterfaceType: L|UnitClass: X|Code: 0|"
    "Command: Toggle the Debug State|Address: C3|"
    "Level: 48       DoTrans:1  CCM:1  AddressOnly:0  CommandOnly:0  Wireless:1 Pass:0|"
    "raw command:(X.a@LX\xC8\x30\x44\x32\x32\x30)\r";

enum class Text { command, error };

// The texts of one-letter codes, joined.
String texts(std::string_view codes, const char* header, bool forController, Text text = Text::command) {
    Array<String> all;
    for (const char code : codes) {
        cHearthixCommand command;
        command.Header = header;
        command.fCCM = forController;
        command.Command = command.Code = String(std::string_view(&code, 1));
        all.Append(text == Text::error ? command.GetErrorCodeDescription()
                                       : command.GetCommandCodeDescription());
    }
    return Join(all, "|");
}

TEST(Descriptions, TellWhatACodeMeans) {
    cHearthixCommand empty;
    expectRows({Row{texts("LM`ADEFGHIJKNOCBZ", "N", true), kMoves},
                Row{texts("lm`adefghijknocbZ", "n", false), kMoves},
                Row{texts("OCRPQDXABSMFGIEHVLZ", "X", true), kController},
                Row{texts("0123456789ABCDEFZ", "X", false), kUnit},
                Row{texts("1234567890", "E", false, Text::error), kErrors},
                Row{empty.GetCommandCodeDescription(), "Safe Condition"}});
}

TEST(Descriptions, PutARecordInOneLine) {
    cHearthixCommand command;
    command.SetCommand("2");
    command.SetHouseCode("B");
    command.SetUnitCode(3);
    EXPECT_EQ(command.GetLogLine().view(), "ON for address B3");
    command.fStacked = command.fWireless = true;
    EXPECT_EQ(command.GetLogLine().view(), "stacked ON for address B3 (W)");
}

TEST(Descriptions, PutARecordInManyLines) {
    setenv("TZ", "UTC0", 1);
    tzset();
    clocks::replaceWallClock([]() -> clocks::Nanoseconds { return 1'615'107'902'000'000'000; });
    cHearthixCommand command, packet;
    clocks::replaceWallClock(nullptr);
    command.InitFromCommonMessage("X.a@LX\xC8\x30\x44\x32\x32\x30");
    EXPECT_EQ(ReplaceAll(command.DebugString(), "\r       ", "|").view(), kDebug);
    packet.initFromMultiPacket("J");
    for (const char* part :
         {"Header: UNKNOWN ()\r", "DoTrans:0  CMM:0  AddressOnly:0  CommandOnly:0  Wireless:0  Pass:0\r",
          "Command: Safe Condition\r", "raw command:(J)\r"})
        EXPECT_GT(InStrB(1, packet.DebugString(), part), 0) << part;
    using Case = std::pair<const char*, const char*>;
    for (const auto& [header, want] :
         {Case("Y", "Development (Y)"), Case("L", "Direct log: (L)"), Case("E", "isf error: (E)"),
          Case("A", "shell echo of packet, ignored: ( A)"), Case("M", "UNKNOWN (M)")}) {
        packet.Header = header;
        EXPECT_GT(InStrB(1, packet.DebugString(), concat("Header: ", want, "\r")), 0) << header;
    }
}

} // namespace
} // namespace hearthix
