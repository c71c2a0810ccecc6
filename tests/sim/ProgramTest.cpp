// The program as users run it, with the real driver.
#include "runtime/process/ConsoleApplication.hpp"
#include "sim/system/ChildProcess.hpp"
#include "sim/system/ListeningSocket.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hearthix::sim {
namespace {

// A run of the program, with its input and output.
class Program {
public:
    Program(const std::string& folder, const std::string& words) {
        static int number = 0;
        const std::string input = folder + "/input" + std::to_string(number++);
        mkfifo(input.c_str(), 0600);
        // Opened for reading, too, so that opening it does not block.
        keyboard_.open(input, std::ios::in | std::ios::out);
        child_->printed = [this](const String& line) { output.append(line.view()).append("\n"); };
        child_->ended = [this](int status) { status_ = status; };
        const std::string line = "exec " HEARTHIX_SIM " " + words + " <" + input;
        EXPECT_TRUE(child_->Start("/bin/sh", {"-c", String(std::string_view(line))}));
    }
    // Whether the program prints a text, and then another one, before it ends.
    bool prints(const std::string& text, const std::string& next = {}) {
        return waitUntil([&] {
            const std::size_t at = output.find(text);
            return at != std::string::npos && output.find(next, at + 1) != std::string::npos;
        });
    }
    std::string restOfLine(const std::string& text) {
        EXPECT_TRUE(prints(text)) << text;
        const std::size_t start = output.find(text) + text.size();
        return output.substr(start, output.find('\n', start) - start);
    }
    void type(const std::string& lines) { keyboard_ << lines << std::endl; }
    void interrupt() { kill(static_cast<pid_t>(child_->pid()), SIGINT); }
    int status() {
        EXPECT_TRUE(waitUntil([this] { return status_ >= 0; })) << output;
        return status_;
    }

    std::string output;

private:
    // Waits no longer than the program runs.
    bool waitUntil(const std::function<bool()>& condition) {
        for (int turns = 0; turns < 15'000 && status_ < 0 && !condition(); ++turns)
            ConsoleApplication::DoEvents(20);
        return condition();
    }

    Ref<ChildProcess> child_ = Ref<ChildProcess>::make();
    std::fstream keyboard_;
    int status_ = -1;
};

class SimProgram : public ::testing::Test {
protected:
    SimProgram() { EXPECT_NE(mkdtemp(folder.data()), nullptr); }
    ~SimProgram() override { std::filesystem::remove_all(folder); }

    std::string folder = std::filesystem::temp_directory_path() / "hearthix-sim-XXXXXX";
};

TEST_F(SimProgram, DemoLosesNothing) {
    for (const char* words : {"demo", "demo --pty --fragment --junk 30 --rate 50"}) {
        Program demo(folder, words);
        for (const char* text : {" 0E00.TEMP created", " command  OFF "})
            EXPECT_TRUE(demo.prints(text)) << text << "\n" << demo.output;
        demo.interrupt();
        EXPECT_EQ(demo.status(), 0);
        EXPECT_TRUE(demo.prints("Nothing was lost.")) << demo.output;
        EXPECT_EQ(demo.output.find('\x1b'), std::string::npos) << "no escape codes on a pipe";
    }
    for (const char* words : {"demo --for 3 --driver /bin/false", "soak --for 3 --driver /bin/false"})
        EXPECT_EQ(Program(folder, words).status(), 1) << words;
}

TEST_F(SimProgram, HostCommandsASerialGatewayAndKeepsItsUnits) {
    Program gateway(folder, "gateway --pty --record " + folder + "/recording");
    const std::string words = "host --trace --listen 127.0.0.1:0 --units " + folder + "/units --serial " +
                              gateway.restOfLine("the gateway is ");
    Program host(folder, words + " --record " + folder + "/of-host");
    for (const char* text : {"Gateway Ready: ", "J mcmd=\"setUnits\" DATA=document of ",
                             "responding to node ID request with ID: 14", "0C01.STATUS ON battery 0"})
        EXPECT_TRUE(host.prints(text)) << text << "\n" << host.output;
    host.type("on 0C01.STATUS\nset 0C02.PERCENT 40\nping\nbogus");
    const std::string value = "value    0C02.PERCENT 40 battery 0";
    EXPECT_TRUE(host.prints(value)) << host.output;
    host.type("raw 12;2;2;0;3;");
    EXPECT_TRUE(host.prints(value, value)) << "the answer to the line in raw\n" << host.output;
    for (const char* text :
         {"0C01.STATUS OFF battery 0", "the driver answers the ping", "there is no command 'bogus'"})
        EXPECT_TRUE(host.prints(text)) << text;
    std::string commands, lines;
    for (int i = 0; i < 200; ++i) {
        commands += "set 0D03.VAR1 " + std::to_string(i) + "\n";
        lines += "13;3;1;0;24;" + std::to_string(i) + "\n";
    }
    host.type(commands);
    EXPECT_TRUE(gateway.prints("received 13;3;1;0;24;199"));
    host.type("quit");
    EXPECT_EQ(host.status(), 1) << "a command was refused";
    EXPECT_TRUE(host.prints("driver ended with status 0"));

    Program again(folder, words);
    EXPECT_TRUE(again.prints("12 units from ") && again.prints("0C02.PERCENT kept")) << again.output;
    again.interrupt();
    gateway.interrupt();
    EXPECT_EQ(again.status() + gateway.status(), 0);
    for (const char* file : {"/recording", "/of-host"}) {
        std::ifstream recording(folder + file);
        std::string inOrder;
        for (std::string line; std::getline(recording, line);)
            if (const std::size_t at = line.find(" < 13;3;1;0;24;"); at != std::string::npos)
                inOrder += line.substr(at + 3) + "\n";
        EXPECT_EQ(inOrder, lines) << file;
    }
}

TEST_F(SimProgram, HostEndsAsAScriptRequestsOrReportsWhyNot) {
    std::ofstream(folder + "/replay") << "1 > 10;0;1;0;0;33\n200 < 0;0;3;0;2;\n300 > 10;0;1;0;0;34\n";
    Program gateway(folder, "gateway --tcp 127.0.0.1:0"), eager(folder, "gateway --greet --tcp 127.0.0.1:0"),
        dropping(folder, "gateway --tcp 127.0.0.1:0 --drop-after 2 --replay " + folder + "/replay");
    const std::string address = gateway.restOfLine("the gateway is "), place = " --gateway " + address;
    const std::string eagerPlace = eager.restOfLine("the gateway is ");
    const std::string dropped = "--gateway " + dropping.restOfLine("the gateway is ");
    const struct {
        std::string words, typed, complaint; // at the end, with a status of 1
        std::string holds;                   // true for the list of all objects, by jq
    } runs[] = {{"--count 3" + place, "", "",
                 "map(select(.kind == \"value\")) | length == 3 and .[0].value == \"20.0\""},
                {"--until 0c02.percent=40.0" + place, "set 0C02.PERCENT 40", "", ".[-1].kind == \"host\""},
                {"--for 1 --until 0A00.TEMP=" + place, "", "the time of --for is over", "all(.kind != null)"},
                {"--for 1" + place, "", "", "any(.kind == \"host\")"},
                {place, "set 0D03.VAR1 two  w\xc3\xa4\xff\nquit", "",
                 "any(.text == \"outgoing command (13;3;1;0;24;two  w\u00e4\ufffd)\")"},
                {place, "close", "", "all(.time | test(\"^20..-..-..T..:..:..[.]...Z$\"))"},
                {"--restart --count 4 " + dropped, "", "",
                 "map(select(.kind == \"value\") | .value) == [\"33\", \"34\", \"33\", \"34\"]"},
                {dropped, "", "its last log line was: mySensors communication error: 107", "length > 0"},
                {"--for 1" + place, "bogus", "not every line on standard input", "any(.kind == \"help\")"},
                {"--for 1", "ping", "1 commands on standard input were not sent", "length > 0"},
                {"--listen " + address + place, "", "name another address with --listen", "length == 0"},
                {"--serial nope", "", "socket://HOST:PORT; th",
                 "any(.text | startswith(\"no serial port is named\"))"},
                {"--serial socket://" + eagerPlace + " --count 1", "", "", "any(.level == 2)"},
                {"--gateway " + eagerPlace, "",
                 "with status 1; it printed: the gateway at " + eagerPlace + " sends data before",
                 "any(.text | test(\"a stack dump of \")) and all(.text | test(\"raiseNil\") | not)"}};
    for (const auto& run : runs) {
        Program host(folder, "host --json --listen 127.0.0.1:0 " + run.words + " >" + folder + "/out");
        host.type(run.typed);
        EXPECT_EQ(host.status(), run.complaint.empty() ? 0 : 1) << run.words;
        EXPECT_TRUE(run.complaint.empty() ? host.output.empty() : host.prints(run.complaint)) << host.output;
        EXPECT_EQ(std::system(("jq -se '" + run.holds + "' " + folder + "/out >/dev/null").c_str()), 0)
            << run.holds;
    }
}

TEST_F(SimProgram, ReachesAGatewayAtAnotherSpeedByTheManualsRecipe) {
    Program gateway(folder, "gateway --pty");
    const std::string device = gateway.restOfLine("the gateway is ");
    const auto listener = Ref<ListeningSocket>::make();
    ASSERT_TRUE(listener->Listen("127.0.0.1", 0));
    const std::string port = std::to_string(listener->Port());
    listener->Close(); // ser2net needs a free port by number
    const std::string recipe = "grep -A2 ^connection: " DRIVER_PAGE " | sed 's|/dev/ttyUSB0|" + device +
                               "|; s/5003/" + port + "/' >" + folder + "/ser2net.yaml";
    ASSERT_EQ(std::system(recipe.c_str()), 0);
    const auto server = Ref<ChildProcess>::make();
    ASSERT_TRUE(server->Start("/usr/sbin/ser2net", {"-n", "-c", String(folder + "/ser2net.yaml")}));
    Program host(folder,
                 "host --listen 127.0.0.1:0 --restart --until 0C02.PERCENT=40 --serial socket://127.0.0.1:" +
                     port);
    host.type("set 0C02.PERCENT 40");
    EXPECT_EQ(host.status(), 0) << host.output;
    EXPECT_EQ(std::system(("test $(stty -F " + device + " speed) = 38400").c_str()), 0);
}

TEST_F(SimProgram, ReportsWhatAScriptWouldMiss) {
    const std::string killer = folder + "/killer";
    std::ofstream(killer) << "#!/bin/sh\nkill -9 $$\n";
    std::filesystem::permissions(killer, std::filesystem::perms::owner_all);
    const std::pair<std::string, const char*> runs[] = {
        {"types >/dev/full", "standard output was lost"},
        {"gateway --mesh /dev/zero", "/dev/zero: it is not a regular file"},
        {"demo --driver " + killer, "by signal 9 (Killed)"},
        {"soak --driver " + killer, "by signal 9 (Killed)"},
        {"host --listen 127.0.0.1:0 --gateway 127.0.0.1:1 --driver " + killer, "by signal 9 (Killed)"}};
    for (const auto& [words, text] : runs) {
        Program program(folder, words);
        EXPECT_EQ(program.status(), 1) << words;
        EXPECT_TRUE(program.prints(text)) << program.output;
    }
    EXPECT_EQ(std::system("printf quit | timeout 60 " HEARTHIX_SIM " gateway --tcp 127.0.0.1:0 >/dev/null"),
              0)
        << "the last line has no line feed";
}

TEST_F(SimProgram, RefusesBadUseInOneSentence) {
    for (const char* words :
         {"", "nonsense", "demo --nonsense", "demo --for", "host --listen 20300", "host --restart",
          "host host", "host --until nonsense", "gateway --junk=nan", "gateway --pty --tcp 127.0.0.1:0"}) {
        Program program(folder, words);
        EXPECT_EQ(program.status(), 2) << program.output;
        EXPECT_EQ(std::count(program.output.begin(), program.output.end(), '\n'), 1) << program.output;
    }
}

} // namespace
} // namespace hearthix::sim
