// The examples in the page on the host link, the connection, and the readable texts of a record.
#include "runtime/text/StringFunctions.hpp"
#include "shell/CommandDispatch.hpp"
#include "shell/HearthixConnection.hpp"
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
    write([](auto& common) {
        common.SetHouseCode("B");
        common.SetUnitCode(3);
        common.SetCommand("2");
    });
    write([](auto& quit) {
        quit.SetFlag("64");
        quit.SetCommand("Q");
        quit.Address2 = "\x80";
    });
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

TEST_F(HostLinkPage, ANewConnectionClosesThePreviousOne) {
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
    HearthixSupport::OpenHearthixConnection("", 0, "8"); // the usual port
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

// A received "Q" is read as "P" with a low battery, so only a test can send it.
TEST_F(HostLinkPage, QuitHasItsOwnLogLine) {
    const auto quit = Ref<cHearthixCommand>::make();
    quit->fCCM = true;
    quit->SetCommand("q");
    CommandSupportModule::HandleIncomingCommand(quit);
    EXPECT_EQ(sent(), test::Packets{test::log("The drugre has been asked to quit. (1)")});
    EXPECT_TRUE(Globals::DoQuit);
}

TEST(Descriptions, ExplainCodes) {
    using Case = std::tuple<const char*, bool, const char*, const char*>;
    for (const auto& [header, forDriver, code, text] :
         {Case("n", true, "`", "pan left"), Case("N", true, "B", "tilt up"),
          Case("n", true, "z", "UNKNOWN Ninja command (7A)"), Case("X", true, "R", "R"),
          Case("y", true, "l", "Set transmitter output amplitude"), Case("X", true, "Z", "Unknown CCM code"),
          Case("X", false, "0", "All Units Off"), Case("Y", false, "f", "Status Request"),
          Case("X", false, "", "Safe Condition"), Case("X", false, "|", "UNKNOWN COMMAND CODE: (|) 0x7C")}) {
        cHearthixCommand command;
        command.Header = header;
        command.fCCM = forDriver;
        command.Command = code;
        EXPECT_EQ(command.GetCommandCodeDescription().view(), text);
    }
    cHearthixCommand on;
    for (const auto& [code, text] : {std::pair{"1", "Powerline reception error"},
                                     {"9", "Power restored at controller"},
                                     {"A", "UNKNOWN ERROR CODE: (A) 0x41"}}) {
        on.Code = code;
        EXPECT_EQ(on.GetErrorCodeDescription().view(), text);
    }
    on.SetHouseCode("C");
    on.SetUnitCode(3);
    on.SetCommand("2");
    EXPECT_EQ(on.GetLogLine().view(), "ON for address C3");
    on.SetFlag("10");
    EXPECT_EQ(on.GetLogLine().view(), "stacked ON for address C3 (W)");
}

TEST(Descriptions, ShowAWholeRecord) {
    setenv("TZ", "UTC0", 1);
    tzset();
    clocks::replaceWallClock([]() -> clocks::Nanoseconds { return 1'615'107'902'000'000'000; });
    cHearthixCommand command;
    clocks::replaceWallClock(nullptr);
    command.InitFromCommonMessage("X.a@LX\xC8\x30\x44\x32\x32\x30");
    EXPECT_EQ(ReplaceAll(command.DebugString(), "\r       ", "|").view(),
              "Packet Debug: 9:05:02 2021-03-07|Header: "
              "Development (X)|Packet Length: 46 RealLength: 12|Version: a|Transaction ID: 64|"
              "InterfaceType: L|UnitClass: X|Code: 0|Command: Toggle the Debug State|Address: C3|"
              "Level: 48       DoTrans:1  CCM:1  AddressOnly:0  CommandOnly:0  Wireless:1 Pass:0|"
              "raw command:(X.a@LX\xC8\x30\x44\x32\x32\x30)\r");
    EXPECT_GT(InStr(1, cHearthixCommand().DebugString(),
                    "DoTrans:0  CMM:0  AddressOnly:0  CommandOnly:0  Wireless:0  Pass:0\r"),
              0);
}

} // namespace
} // namespace hearthix
