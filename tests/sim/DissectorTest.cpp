// The Wireshark dissector, in tshark, on a capture that is written here.
#include "tests/support/Packets.hpp"
#include "tests/support/Shell.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace hearthix::test {
namespace {

// Raw IPv4 packets with TCP segments: one connection a port of the driver, its sequence numbers in order.
class Capture {
public:
    explicit Capture(const std::string& path) : file_(path, std::ios::binary) {
        put({0xa1b2c3d4, 0x00040002, 0, 0, 65535, 101}, 4, true);
    }
    void segment(unsigned driverPort, unsigned hostPort, bool fromHost, const std::string& bytes) {
        const auto size = static_cast<unsigned>(bytes.size()) + 40;
        unsigned& sequence = sequences_[{driverPort, fromHost}];
        put({0, 0, size, size}, 4, true);
        put({0x4500, size, 0, 0, 0x4006, 0, 0x7f00, 1, 0x7f00, 1}, 2, false);
        put({fromHost ? hostPort : driverPort, fromHost ? driverPort : hostPort}, 2, false);
        put({1 + sequence, 1}, 4, false);
        put({0x5018, 0xffff, 0, 0}, 2, false);
        file_ << bytes << std::flush;
        sequence += static_cast<unsigned>(bytes.size());
    }

private:
    void put(const std::vector<unsigned>& numbers, int width, bool littleEndian) {
        for (const unsigned number : numbers)
            for (int i = 0; i < width; ++i)
                file_.put(static_cast<char>(number >> 8 * (littleEndian ? i : width - 1 - i)));
    }
    std::ofstream file_;
    std::map<std::pair<unsigned, bool>, unsigned> sequences_;
};

TEST(Dissector, ShowsPacketsAndMarksWrongLengths) {
    if (shell("command -v tshark").status != 0)
        GTEST_SKIP() << "tshark is missing; script/test installs it";
    const std::string ping = multipacket({{"mcmd", "ping"}});
    const std::string set =
        multipacket({{"addr", "0A03.TEMP"}, {"mcmd", "SetValue"}, {"Valu", "21,5 \xc2\xb0"}}, 0);
    std::string tooLong = ping;
    tooLong[8] = 5;
    std::string folder = std::filesystem::temp_directory_path() / "hearthix-dissector-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    unsigned port = 40000;
    // Expects the summary of the last segment, and the errors.
    const auto expect = [&](const std::string& shown, unsigned hostPort, bool fromHost,
                            const std::vector<std::string>& segments) {
        const std::string file = folder + "/" + std::to_string(++port);
        Capture capture(file);
        for (const std::string& bytes : segments)
            capture.segment(port, hostPort, fromHost, bytes);
        const std::string command =
            "tshark -r " + file +
            " -X lua_script:" DISSECTOR " -o hearthix.port:" + std::to_string(hostPort) +
            " -Y hearthix -T fields -E separator='|' -e _ws.col.Info -e _ws.expert.message 2>&1 | tail -n 1";
        const std::string errors = shown.find('|') == std::string::npos ? "|" : "";
        EXPECT_EQ(shell(command).output, shown + errors + "\n");
    };
    const std::string units = unitsPacket(std::vector<std::string>{"0103.TEMP"});
    expect("[MYSENSORS:ID7]", 20300, false, {"M", "YSENSORS:ID7\r"});
    expect("[MYSENSORS:][log: hello]", 20300, false, {"MYSENSORS:\r" + log("hello").bytes});
    expect("[SetValue 0A03.TEMP 21,5 \xc2\xb0][ping]", 20300, true,
           {ping + set.substr(0, 1), set.substr(1, 7), set.substr(8) + ping});
    expect("[setUnits document of 181 bytes][command Q]", 20300, true, {units + commonMessage('Q')});
    expect("[ping]", 4711, true, {ping});
    expect("[wrong length]|A length of 0", 20300, true, {std::string("J\0\0\x80", 4)});
    expect("[wrong length]|A length of 0", 20300, true, {std::string("X\0", 2) + ping});
    expect("[ping]|The value ends after the packet", 20300, true, {tooLong});
    expect("[]|An entry is cut off", 20300, true, {"J\x07" + std::string("\0\x80mcm", 5)});
    expect("[message]|A common message has at least 16 bytes", 20300, true, {"X\3a"});
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace hearthix::test
