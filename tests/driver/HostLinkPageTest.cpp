// The page that describes the host link, held against the code: each fenced block of bytes is written anew.
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "runtime/Numbers.hpp"
#include "runtime/StringFunctions.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include <sys/socket.h>
#include <unistd.h>

namespace hearthix {
namespace {

struct Example {
    std::string kind;
    std::map<std::string, std::string> words; // "key=value" as a pair, other words under themselves
    std::string order;                        // the keys in their order, a blank behind each
    std::string bytes;
};

std::string bytesOf(const std::string& line) {
    std::string bytes;
    std::istringstream digits(line.substr(0, line.find("  ")));
    for (std::string pair; digits >> pair;)
        bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
    return bytes;
}

Example headOf(const std::string& fence) {
    Example example;
    std::istringstream words(fence);
    words >> example.kind;
    for (std::string word; words >> word;) {
        std::erase(word, '"');
        const std::size_t mark = word.find('=');
        example.words[word.substr(0, mark)] = mark == std::string::npos ? "" : word.substr(mark + 1);
        example.order += word.substr(0, mark) + " ";
    }
    return example;
}

std::vector<Example> examplesOf(const std::string& path) {
    std::vector<Example> examples;
    std::ifstream page(path);
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("```hex ", 0) == 0) {
            examples.push_back(headOf(line.substr(7)));
            inside = true;
        } else if (line.rfind("```", 0) == 0) {
            inside = false;
        } else if (inside) {
            examples.back().bytes += bytesOf(line);
        }
    }
    return examples;
}

// Bytes that a socket of the host link has written, by the other end of a pair.
std::string sentBy(const std::function<void(cHearthixDeviceSocket&)>& action) {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
    const auto socket = Ref<cHearthixDeviceSocket>::make(nullptr);
    socket->adopt(ends[0]);
    action(*socket);
    socket->Flush();
    char buffer[512];
    const ssize_t count = read(ends[1], buffer, sizeof buffer);
    close(ends[1]);
    return {buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

std::string written(const Example& example) {
    const auto word = [&](const char* key) { return String(std::string_view(example.words.at(key))); };
    cHearthixCommand command;
    if (example.kind == "multi") {
        std::istringstream keys(example.order);
        for (std::string key; keys >> key;)
            command.SetMulti(String(std::string_view(key)), String(std::string_view(example.words.at(key))));
    } else if (example.kind == "common") {
        command.SetHouseCode(word("house"));
        command.SetUnitCode(ValInteger(word("unit")));
        command.SetCommand(word("command"));
    } else if (example.kind == "controller") {
        command.SetFlag("64");
        command.SetCommand(word("command"));
        command.Address2 = ChrB(128);
    } else if (example.kind == "log") {
        const std::string text = example.order.substr(example.order.find(' ') + 1);
        return sentBy([&](auto& socket) {
            socket.SendLog(Trim(String(std::string_view(text))), ValInteger(word("level")));
        });
    } else if (example.kind == "handshake") {
        return sentBy([&](auto& socket) {
            socket.ConnectionID = Trim(String(std::string_view(example.order)));
            socket.Event_Connected();
        });
    }
    return std::string(command.GetRawCommand().view());
}

TEST(HostLinkPage, ExamplesAreWhatIsWritten) {
    const std::vector<Example> examples = examplesOf(HOST_LINK_PAGE);
    ASSERT_EQ(examples.size(), 6U);
    for (const Example& example : examples)
        EXPECT_EQ(written(example), example.bytes) << example.kind << " " << example.order;
}

} // namespace
} // namespace hearthix
