// The page that describes the host link, held against the code, and the words of the link.
#include "app/CommandDispatch.hpp"
#include "app/HearthixConnection.hpp"
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
    EXPECT_FALSE(before->IsConnected() || HearthixSupport::HearthixSocket == before);
    EXPECT_EQ(host_.take(), "last words");
    EXPECT_TRUE(HearthixSupport::WaitForHearthixConnection(10));
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

constexpr const char* kDebug =
    "Packet Debug: 9:05:02 2021-03-07|Header: Development (X)|Packet Length: 46 RealLength: 12|"
    "Version: a|Transaction ID: 64|InterfaceType: L|UnitClass: X|Code: 0|"
    "Command: Toggle the Debug State|Address: C3|"
    "Level: 48       DoTrans:1  CCM:1  AddressOnly:0  CommandOnly:0  Wireless:1 Pass:0|"
    "raw command:(X.a@LX\xC8\x30\x44\x32\x32\x30)\r";

// All texts of all codes in a row: a slip in any of them shows.
TEST(Descriptions, TellWhatACodeMeans) {
    String all;
    cHearthixCommand command;
    for (Integer code = 32; code < 127; ++code) {
        command.Command = command.Code = ChrB(code);
        for (const char* header : {"N", "n", "X"}) {
            command.Header = header;
            command.fCCM = code % 2 == 0;
            const String first = command.GetCommandCodeDescription();
            command.fCCM = !command.fCCM;
            all = concat(all, first, "|", command.GetCommandCodeDescription(), "|");
        }
        all = concat(all, command.GetErrorCodeDescription(), "|");
    }
    EXPECT_EQ(checksumOf(all), 1221541259U);
    EXPECT_EQ(cHearthixCommand().GetCommandCodeDescription().view(), "Safe Condition");
}

TEST(Descriptions, PutARecordInManyLines) {
    setenv("TZ", "UTC0", 1);
    tzset();
    clocks::replaceWallClock([]() -> clocks::Nanoseconds { return 1'615'107'902'000'000'000; });
    cHearthixCommand command, packet;
    clocks::replaceWallClock(nullptr);
    command.InitFromCommonMessage("X.a@LX\xC8\x30\x44\x32\x32\x30");
    EXPECT_EQ(ReplaceAll(command.DebugString(), "\r       ", "|").view(), kDebug);
    command.fStacked = true;
    EXPECT_EQ(command.GetLogLine().view(), "stacked Toggle the Debug State for address C3 (W)");
    packet.initFromMultiPacket("J");
    for (const char* part :
         {"Header: UNKNOWN ()\r", "DoTrans:0  CMM:0  AddressOnly:0  CommandOnly:0  Wireless:0  Pass:0\r",
          "Command: Safe Condition\r", "raw command:(J)\r"})
        EXPECT_GT(InStrB(1, packet.DebugString(), part), 0) << part;
    packet.Header = "A";
    EXPECT_GT(InStrB(1, packet.DebugString(), "Header: shell echo of packet, ignored: ( A)\r"), 0);
}

} // namespace
} // namespace hearthix
