#include "hostlink/cHearthixCommand.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Globals.hpp"
#include "tests/runtime/Rows.hpp"
#include "tests/support/Pages.hpp"

namespace hearthix {
namespace {

using namespace std::string_view_literals;
using Command = cHearthixCommand;

String fromHex(const char* digits) {
    return String(bytesOf(digits));
}

TEST(Command, MapsHouseAndUnitCodes) {
    Command command;
    for (const Integer i : {0, 1, 10, 15}) {
        command.SetHouseCode(Chr((i % 2 == 0 ? 'A' : 'a') + i));
        command.SetUnitCode(i + 1);
        expectRows({Row{command.Address1, Hex(i)}, Row{command.GetHouseCode(), Chr('A' + i)},
                    Row{command.Address2, Hex(i)}, Row{command.GetUnitCode(), Str(i + 1)}});
    }
    for (const char* unknown : {"Q", "", "AB", "@"})
        command.SetHouseCode(unknown);
    EXPECT_EQ(command.Address1.view(), "F");
    for (const auto& [address, code] : {std::pair{"junk", "A"}, {"FFFFFFFFFFFFFFFFFFFF", ""}}) {
        command.Address1 = address;
        EXPECT_EQ(command.GetHouseCode().view(), code);
    }
}

TEST(Command, InvertsFlagsButKeepsTheirProperties) {
    const char* const kBits[] = {"128", "&h40", "32", " 16", "&b1000", "4x", "2", "1"};
    for (std::size_t i = 0; i < 8; ++i) {
        Command command;
        command.SetFlag(kBits[i]);
        command.SetFlag(kBits[i]);
        EXPECT_EQ(command.Flags, 0);
        const bool properties[] = {command.fDoTransmit,  command.fCCM,      command.fAddressOnly,
                                   command.fCommandOnly, command.fWireless, command.fPassThrough,
                                   command.fStacked};
        for (std::size_t property = 0; property < 7; ++property)
            EXPECT_EQ(properties[property], property == i) << i << " " << property;
    }
}

// Compares the packet of a record without entries. Both operations must return it.
void expectPacket(Command& command, const char* bytes) {
    const String packet = command.GetRawCommand();
    EXPECT_EQ(Trim(Globals::Hexify(packet)).view(), bytes);
    EXPECT_EQ(command.GetRawMultipacket().view(), packet.view());
    EXPECT_EQ(command.PacketLength, LenB(packet));
    EXPECT_EQ(packet.encoding(), TextEncoding::none);
}

TEST(CommonMessage, IsWrittenByteForByte) {
    using Case = std::tuple<const char*, const char*, const char*, Integer, Integer, const char*>;
    for (const auto& [code, address1, address2, level, param2, bytes] :
         {Case("2", "1", "2", 0, 0, "58 10 61 40 4C 58 00 30 32 31 32 00 00 00 20 0D"),
          Case("2", "", "2", 0, 0, "58 10 61 40 4C 58 00 30 32 80 32 00 00 00 20 0D"),
          Case("4", "1", "", 76, 255, "58 10 61 40 4C 58 00 30 34 80 4C 00 FF 20 20 0D"),
          Case("", "", "", 0, 0, "58 10 61 40 4C 58 00 30 80 00 00 00 20 20 20 0D")}) {
        Command command;
        command.Command = code;
        command.Address1 = address1;
        command.Address2 = address2;
        command.SetLevel(level);
        command.SetParam2(param2);
        expectPacket(command, bytes);
    }
}

TEST(CommonMessage, HasSpecialForms) {
    Command quit, measurement, analog, raw;
    quit.Header = "Y";
    quit.SetTransactionID(200);
    quit.SetFlag("64");
    quit.Code = "1";
    quit.SetCommand("q");
    expectPacket(quit, "59 10 61 C8 4C 58 40 31 71 80 00 00 00 20 20 0D");
    measurement.SetCommand("Z");
    measurement.DoubleMeasurement = 1.5;
    expectPacket(measurement, "58 13 61 40 4C 58 00 30 5A 80 00 00 00 00 00 00 F8 3F 0D");
    analog.SetCommand("A");
    analog.SetUnitCode(2);
    analog.SetLevel(5);
    analog.analog0 = "a";
    analog.analog3 = "bc";
    expectPacket(analog, "58 10 61 40 4C 58 00 30 41 80 31 05 61 62 63 0D");
    raw.SetCommand("X");
    raw.SetRawData("0123456789");
    expectPacket(raw, "58 15 61 40 4C 58 00 30 58 0A 30 31 32 33 34 35 36 37 38 39 0D");
}

TEST(CommonMessage, IsReadByPosition) {
    Command command;
    EXPECT_TRUE(command.InitFromCommonMessage(fromHex("59 10 62 C8 4C 41 C2 33 34 35 36 4B 07 FF 20 0D")));
    expectRows({Row{command.Header, "Y"}, Row{command.Version, "b"}, Row{command.InterfaceType, "L"},
                Row{command.UnitClass, "A"}, Row{command.Code, "3"}, Row{command.Command, "4"},
                Row{command.Address1, "5"}, Row{command.Address2, "6"}});
    EXPECT_EQ((std::vector{command.PacketLength, command.TransactionID, command.Flags, command.level,
                           command.param1, command.param2}),
              (std::vector<Integer>{16, 200, 0xC2, 75, 7, 255}));
    EXPECT_EQ((std::vector{command.fDoTransmit, command.fCCM, command.fStacked, command.fWireless,
                           command.LowBattery}),
              (std::vector{true, true, true, false, false}));
    EXPECT_TRUE(
        command.InitFromCommonMessage(fromHex("58 10 61 40 4C 58 00 30 34 30 30 4C"))); // cut, and level 76
    EXPECT_EQ((std::vector{command.level, command.param1, command.param2}), (std::vector<Integer>{0, 0, 0}));
    EXPECT_TRUE(command.fDoTransmit); // never set back to false
    for (const auto& [received, stored] : {std::pair{5, 4}, {85, 84}, {1, 0}, {81, 80}, {84, 84}, {49, 49}}) {
        Command battery;
        EXPECT_TRUE(battery.InitFromCommonMessage(fromHex("58 10 61 40 4C 58 00 30") + ChrB(received)));
        EXPECT_EQ(AscB(battery.Command), stored);
        EXPECT_EQ(battery.LowBattery, received != stored) << received;
    }
}

TEST(CommonMessage, IsReadByItsType) {
    Command measured, wireless, log, text, loudest, error, refused;
    EXPECT_TRUE(measured.InitFromCommonMessage(fromHex("4D 10 61 40 4C 58 00 30 34 30 30 00 31 41 32 62")));
    EXPECT_EQ(measured.rawAnalog16, 0x1A2B);
    EXPECT_TRUE(wireless.InitFromCommonMessage(fromHex("58 10 61 40 50 58 08 30 34 30 30 00 00 00 20 C8")));
    EXPECT_EQ(HearthixSupport::gSignalStrength, 200);
    EXPECT_TRUE(log.InitFromCommonMessage(fromHex("4C 08 02 68 65 6C 6C 6F")));
    EXPECT_TRUE(text.InitFromCommonMessage(fromHex("4C 07 68 65 6C 6C 6F")));
    EXPECT_TRUE(loudest.InitFromCommonMessage(fromHex("4C 04 04 68")));
    EXPECT_EQ((std::vector{log.LogData, log.PacketLength, text.LogData}), (std::vector<Integer>{2, 8, 4}));
    EXPECT_FALSE(error.InitFromCommonMessage(fromHex("45 10 61 40 4C 58 00 39 34 30")));
    EXPECT_FALSE(refused.InitFromCommonMessage("A.a@LX"));
    expectRows({Row{log.LogMessage, "hello"}, Row{text.LogMessage, "hello"}, Row{loudest.LogMessage, "h"},
                Row{error.Code, "9"}, Row{error.Command, ""}, Row{refused.Header, "A"},
                Row{refused.Version, ""}});
}

TEST(Multipacket, IsWrittenByteForByte) {
    Command request, large, edges;
    request.SetMulti("mcmd", "getUnits");
    EXPECT_EQ(Globals::Hexify(request.GetRawCommand()).view(),
              " 4A 12 00 80 6D 63 6D 64 08 00 67 65 74 55 6E 69 74 73");
    large.SetMulti("DATA", String(std::string(70'000, 'x'))); // lengths lose what is above 16 bits
    EXPECT_EQ(large.GetRawCommand().size(), 70'010U);
    EXPECT_EQ(large.GetRawCommand().view().substr(0, 11), "J\x7A\x11\x80\x44\x41TA\x70\x11x");
    edges.SetMulti("ab", "1"); // stored as given, padded only on the wire, and looked up padded
    edges.SetMulti("abcdef", "first");
    edges.SetMulti("ABCDEF", "");
    EXPECT_EQ(edges.GetRawCommand().view(), "J\x11\0\x80  ab\x01\0\x31\x63\x64\x65\x66\0\0"sv);
    EXPECT_EQ(edges.PacketLength, 0);
    EXPECT_FALSE(edges.hasKey("ab"));
    EXPECT_EQ(edges.GetMulti("ab").view(), "");
    Command received;
    EXPECT_TRUE(received.initFromMultiPacket(edges.GetRawCommand()));
    EXPECT_EQ(received.GetMulti("AB").view(), "1");
    EXPECT_TRUE(received.hasKey("CDEF"));
    request.SetMulti("PkID", "4711");
    expectRows({Row{request.MakeAck()->GetMulti("mcmd"), "ACK"},
                Row{request.MakeAck()->GetMulti("PkID"), "4711"},
                Row{Join(edges.GetKeys(), "|"), "ab|abcdef"}, Row{Join(received.GetKeys(), "|"), "  ab|cdef"},
                Row{MP::convertBoolToKey(true), "true"}, Row{MP::convertBoolToKey(false), "False"}});
}

TEST(Multipacket, IsReadUpToWhereItIsCutOff) {
    using Case = std::pair<std::string_view, const char*>;
    for (const auto& [packet, want] :
         {Case("J", ""), Case("J\0\0\0mcmd\0\x02ONaddr\0\1x"sv, "mcmd=ON addr=x "),
          Case("J\0\0\x80mcmd\xFF\xFFON"sv, "mcmd=ON "), Case("J\0\0\x80mcmd\x02\0ONad"sv, "mcmd=ON ad= ")}) {
        Command command;
        command.SetMulti("old ", "gone");
        EXPECT_TRUE(command.initFromMultiPacket(String(packet)));
        String got;
        for (Integer i = 0; i < command.MultiDict->Count(); ++i)
            got = concat(got, command.MultiDict->Key(i).asString(), "=",
                         command.MultiDict->ValueAt(i).asString(), " ");
        expectRows({Row{got, want}, Row{command.RawCommonCommand, packet}, Row{command.Header, ""}});
    }
}

} // namespace
} // namespace hearthix
