// The page that describes the host link, held against the code, and the words of the link.
#include "app/CommandDispatch.hpp"
#include "app/HearthixConnection.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/system/ListeningSocket.hpp"
#include "tests/driver/Driver.hpp"

#include <stdlib.h>
#include <time.h>

namespace hearthix {
namespace {

class HostLinkPage : public DriverTest {};

TEST_F(HostLinkPage, ExamplesAreWhatIsWritten) {
    auto& socket = *HearthixSupport::HearthixSocket;
    std::vector<std::string> written;
    const auto write = [&](auto fill) {
        cHearthixCommand command;
        fill(command);
        written.emplace_back(command.GetRawCommand().view());
    };
    socket.ConnectionID = "ID7";
    socket.Event_Connected();
    socket.Flush();
    written.push_back(host_.take());
    write([](auto& common) { common.SetHouseCode("B"), common.SetUnitCode(3), common.SetCommand("2"); });
    write([](auto& quit) { quit.SetFlag("64"), quit.SetCommand("Q"), quit.Address2 = "\x80"; });
    socket.SendLog("hello", 2);
    written.push_back(sent().at(0).bytes);
    write([](auto& request) { request.SetMulti("mcmd", "getUnits"); });
    written.push_back(test::setValue("0A03.TEMP", "21.5", "80").bytes);
    std::vector<std::string> examples;
    for (const auto& [kind, text] : blocksOf(HOST_LINK_PAGE))
        if (kind.starts_with("hex "))
            examples.push_back(bytesOfLines(text));
    EXPECT_EQ(examples, written);
}

TEST_F(HostLinkPage, ANewConnectionEndsTheOneBefore) {
    ListeningSocket listener;
    ASSERT_TRUE(listener.Listen("127.0.0.1", 0));
    Peer after;
    listener.accepted = [&](int descriptor) { after.descriptor = descriptor; };
    const auto before = HearthixSupport::HearthixSocket;
    before->Write("last words");
    HearthixSupport::OpenHearthixConnection("", listener.Port(), "8");
    EXPECT_FALSE(before->IsConnected());
    EXPECT_NE(HearthixSupport::HearthixSocket, before);
    EXPECT_EQ(host_.take(), "last words");
    EXPECT_TRUE(HearthixSupport::WaitForHearthixConnection(10));
}

TEST_F(HostLinkPage, TheUsualPortIsUsedWhenNoneIsGiven) {
    HearthixSupport::OpenHearthixConnection("", 0, "8");
    EXPECT_EQ(HearthixSupport::HearthixSocket->Port, 20300);
    EXPECT_EQ(HearthixSupport::HearthixSocket->Address.view(), "127.0.0.1");
}

TEST(PacketBoundary, KnowsHowMuchOfAPacketIsMissing) {
    using Case = std::pair<std::string, std::size_t>; // of a length that has not come: its bytes
    for (const auto& [bytes, missing] :
         {Case("", 0), Case("X", 1), Case("X\x10", 14), Case("J", 2), Case("J\x12", 1),
          Case({"J\x12\0", 3}, 15), Case("j\2\1", 255),
          Case(test::multipacket({{"mcmd", "ping"}}) + "X\5..", 1), Case(test::commonMessage('D') + "X", 1),
          Case("Z\1\2", 0), Case({"J\2\0\3", 4}, 1)}) {
        PacketBoundary whole, inBytes;
        whole.pass(bytes);
        for (const char& byte : bytes)
            inBytes.pass({&byte, 1});
        EXPECT_EQ(whole.missing(), missing) << test::readable(bytes);
        EXPECT_EQ(inBytes.missing(), missing) << test::readable(bytes);
    }
}

// From the wire Q is P with a low battery, and never arrives as itself.
TEST_F(HostLinkPage, QuitHasWordsOfItsOwn) {
    const auto quit = Ref<cHearthixCommand>::make();
    quit->fCCM = true;
    quit->SetCommand("q");
    CommandSupportModule::HandleIncomingCommand(quit);
    EXPECT_EQ(sent(), test::Packets{test::log("The drugre has been asked to quit. (1)")});
    EXPECT_TRUE(Globals::DoQuit);
}

// The codes of a table with their texts, and what all others read as: % stands for the code, # for its
// number.
struct Table {
    const char* header;
    bool forDriver;
    const char* rows;
    const char* others;
    String (cHearthixCommand::*tell)() const = &cHearthixCommand::GetCommandCodeDescription;
};
constexpr Table kTables[] = {
    {"n", true,
     "|Lcenter|Mcenter with program|`pan left|Apan right|Dposition 1|Eprogram position 1|Fposition 2|"
     "Gprogram position 2|Hposition 3|Iprogram position 3|Jposition 4|Kprogram position 4|Nsweep|"
     "Oprogram sweep|Ctilt down|Btilt up|",
     "UNKNOWN Ninja command (#)"},
    {"X", true,
     "|OOpen a Port|CClose a port|RR|PPing|Qpolite interface shutdown command|DToggle the Debug State|"
     "XSend Raw Data|ATurn off monitor mode|BSet base house code for LynxX-Port|SSample All Analogs|"
     "MTurn ON monitor only mode|FSet time filter for de-bouncing|GDisable Wireless security events|"
     "IResume normal wireless processing|EEnable Wireless security events|HEnable Wireless Stealth Mode|"
     "VSet receiver sensitivity|LSet transmitter output amplitude|",
     "Unknown CCM code"},
    {"X", false,
     "|0All Units Off|1All Lights On|2ON|3OFF|4DIM|5BRIGHT|6All Lights Off|7Extended Code|8Hail Request|"
     "9Hail Ack|APreset Dim 0|BPreset Dim 1|CExtended Data|DStatus On|EStatus Off|FStatus Request|",
     "UNKNOWN COMMAND CODE: (%) 0x#"},
    {"N", false,
     "|1Powerline reception error|2Bad command received from Mac|3Bad data received from Mac|"
     "4X10 collision detected during transmission|5Powerline transmission failure (time out)|"
     "6Lost transmission echoes from TW523|7Receive overrun of data from Mac|8Power Failure at controller|"
     "9Power restored at controller|",
     "UNKNOWN ERROR CODE: (%) 0x#", &cHearthixCommand::GetErrorCodeDescription}};

TEST(Descriptions, TellWhatACodeMeans) {
    for (const Table& table : kTables)
        for (char code = ' '; code < 127; ++code) {
            cHearthixCommand command;
            command.Header = table.header;
            command.fCCM = table.forDriver;
            command.Command = command.Code = ChrB(code);
            const Integer row = InStr(1, table.rows, concat("|", ChrB(code)));
            const String others = ReplaceAll(ReplaceAll(table.others, "#", Hex(code)), "%", ChrB(code));
            const String text = row > 0 ? NthField(Mid(table.rows, row + 2), "|", 1) : others;
            EXPECT_EQ((command.*table.tell)().view(), code == '|' ? others.view() : text.view()) << code;
        }
    EXPECT_EQ(cHearthixCommand().GetCommandCodeDescription().view(), "Safe Condition");
}

TEST(Descriptions, PutARecordInManyLines) {
    setenv("TZ", "UTC0", 1);
    tzset();
    const std::string bare = "Packet Length: 0 RealLength: 0|Version: |Transaction ID: 0|InterfaceType: |"
                             "UnitClass: |Code: |Command: Safe Condition|Address: A1|Level: 0       ";
    const std::string none =
        bare + "DoTrans:0  CMM:0  AddressOnly:0  CommandOnly:0  Wireless:0  Pass:0|raw command:()\r";
    struct Case {
        const char* packet;
        const char* header;
        const char* flags;
        const char* headerText;
        std::string text;
    };
    for (const Case& c :
         {Case{"X.a@LX\xC8\x30\x44\x32\x32\x30", "X", "0", "Development (X)",
               "Packet Length: 46 RealLength: 12|Version: a|Transaction ID: 64|InterfaceType: L|UnitClass: X|"
               "Code: 0|Command: Toggle the Debug State|Address: C3|Level: 48       DoTrans:1  CCM:1  "
               "AddressOnly:0  CommandOnly:0  Wireless:1 Pass:0|"
               "raw command:(X.a@LX\xC8\x30\x44\x32\x32\x30)\r"},
          Case{"", "L", "52", "Direct log: (L)",
               bare + "DoTrans:0  CMM:0  AddressOnly:1  CommandOnly:1  Wireless:0  Pass:1|raw command:()\r"},
          Case{"", "y", "0", "Development (Y)", none}, Case{"", "E", "0", "isf error: (E)", none},
          Case{"", "A", "0", "shell echo of packet, ignored: ( A)", none},
          Case{"", "", "0", "UNKNOWN ()", none}}) {
        clocks::replaceWallClock([]() -> clocks::Nanoseconds { return 1'615'107'902'000'000'000; });
        cHearthixCommand command;
        clocks::replaceWallClock(nullptr);
        command.InitFromCommonMessage(c.packet);
        command.Header = c.header;
        command.SetFlag(c.flags);
        EXPECT_EQ(ReplaceAll(command.DebugString(), "\r       ", "|").view(),
                  "Packet Debug: 9:05:02 2021-03-07|Header: " + std::string(c.headerText) + "|" + c.text);
    }
}

TEST(Descriptions, PutACommandInOneLine) {
    cHearthixCommand command;
    command.SetHouseCode("C"), command.SetUnitCode(3), command.SetCommand("2");
    EXPECT_EQ(command.GetLogLine().view(), "ON for address C3");
    command.SetFlag("10");
    EXPECT_EQ(command.GetLogLine().view(), "stacked ON for address C3 (W)");
}

} // namespace
} // namespace hearthix
