// The page that describes the host link, held against the code: its blocks of bytes in their order.
#include "tests/driver/Driver.hpp"

#include <fstream>

namespace hearthix {
namespace {

std::vector<std::string> blocksOf(const std::string& path) {
    std::vector<std::string> blocks;
    std::ifstream page(path);
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("```"))
            inside = line.starts_with("```hex ");
        else if (inside)
            blocks.back() += bytesOf(line.substr(0, line.find("  ")));
        if (inside && line.starts_with("```"))
            blocks.emplace_back();
    }
    return blocks;
}

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
    EXPECT_EQ(blocksOf(HOST_LINK_PAGE), written);
}

} // namespace
} // namespace hearthix
