// The description of a mesh from its recording: formats, and a recording for each kind of finding.
#include "sim/Failure.hpp"
#include "sim/inspect/Report.hpp"
#include "sim/Recording.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace hearthix::sim {
namespace {

// A recording, described.
struct Described {
    explicit Described(const std::string& text) {
        recording.line = [this](const TracedLine& line) { mesh.add(line); };
        recording.opened = [this] { mesh.opened(); };
        const std::size_t size = text.size() < 10'000 ? 1 : 4096;
        for (std::size_t start = 0; start < text.size(); start += size)
            recording.feed(std::string_view(text).substr(start, size));
        recording.finish();
        findings = findingsOf(mesh, recording);
    }
    std::string kinds() const {
        std::string all;
        for (const Finding& each : findings)
            all.append(all.empty() ? "" : " ").append(each.kind->name);
        return all;
    }

    RecordingReader recording{"r"};
    MeshModel mesh;
    std::vector<Finding> findings;
};

// Lines of a recording, one each second: "1 line" at the given second, "< line" from the driver.
std::string timed(const std::string& lines) {
    std::istringstream stream(lines);
    std::string text;
    Integer at = 0;
    for (std::string each; std::getline(stream, each, '|'); at += 1000) {
        if (each[0] == '@')
            at = 1000 * std::stoi(each.substr(1, each.find(' '))), each.erase(0, each.find(' ') + 1);
        const bool isDriver = each[0] == '<';
        text += std::to_string(at) + (isDriver ? " < " : " > ") + each.substr(isDriver ? 1 : 0) + "\n";
    }
    return text;
}

std::string repeated(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

const std::string kStart = "0;255;3;0;14;Gateway startup complete.|0;255;0;0;18;2.3.2|"
                           "10;255;0;0;17;2.3.2|10;255;3;0;11;Weather|10;255;3;0;12;1.0|10;1;0;0;6;Out|"
                           "10;1;1;0;0;20|10;1;1;0;0;21|";

TEST(Inspect, FindsWhatIsWrong) {
    const struct {
        const char* kinds;
        std::string lines;
        const char* text; // in the first finding
    } cases[] = {
        {"shared-id", kStart + "10;255;3;0;11;Door", "\"Weather\" and \"Door\""},
        {"shared-id", kStart + "10;255;4;0;0;0A|10;255;3;0;12;2.0|10;255;3;0;12;1.0",
         "versions \"1.0\" and \"2.0\""},
        {"shared-id", kStart + "10;1;0;0;0;", "child 1 presented as \"Temperature\" and \"Door\""},
        {"assigned-twice", "255;9;3;0;3;|<255;9;3;0;4;11|11;255;0;0;17;2.3.2|255;7;3;0;3;|<255;7;3;0;4;11",
         "11 to 2 nodes"},
        {"assigned-twice", kStart + "255;7;3;0;3;|<255;7;3;0;4;10",
         "10 to 2 nodes, the last time in line 10"},
        {"garbled-unit", kStart + "300;3;1;0;0;21", "2C03.TEMP probably comes from a garbled line: line 9"},
        {"unreadable garbled-unit", kStart + "10;1;1;|1;1;1;0;0;2|10;1;1;0;0;21", "1 line is no message"},
        {"no-value", kStart + "10;2;0;0;3;Lamp|@18 10;1;1;0;0;22", "child 2, Binary"},
        {"unnamed-type", kStart + "10;1;1;0;47;hello", "0A01.UNKN047 has the type 47 (V_TEXT)"},
        {"other-type", kStart + "10;1;1;0;30;1", "0A01.WINDOW reach the node as V_UP, not as V_DOWN"},
        {"other-type", kStart + "10;1;1;0;33;77", "as V_IR_RECEIVE, not as V_IR_SEND"},
        {"no-free-id id-refused", kStart + "253;1;1;0;0;1|255;0;3;0;3;" + repeated(6, "|10;1;1;0;0;1"),
         "FD01.TEMP."},
        {"no-free-id garbled-unit", "255;1;1;0;0;9|253;0;0;0;1;|" + kStart + "253;0;1;0;1;1",
         "FF01.TEMP, FD00.HUM."},
        {"garbled-unit", "255;1;1;0;0;9|" + kStart + "254;1;1;0;1;1", "FF01.TEMP"},
        {"wrong-speed", repeated(9, std::string("\xe0\0\x1c\0\xfc\x80", 6) + "|"), "54 of 54 bytes"},
        {"silence-10", kStart + "@22 10;1;1;0;0;1", "once, the longest for 15 s"},
        {"silence-20", kStart + "@17 <0;0;3;0;2;|@29 10;1;1;0;0;1", "once, which ends the driver"},
        {"gateway-restart", kStart + "0;255;3;0;14;Gateway startup complete.", "again once, first in line 9"},
        {"node-silent", kStart + repeated(4, "10;1;1;0;0;1|11;1;1;0;0;1|") + repeated(40, "11;1;1;0;0;1|"),
         "Node 10 reported every 2 s and has been silent for the last 41 s"},
        {"send-failed",
         kStart + "0;255;3;0;9;53 !TSF:MSG:SEND,0-0-10-10,s=1,c=1,t=2,pt=0,l=1,sg=0,ft=0,st=NACK:1|"
                  "0;255;3;0;9;TSF:MSG:SEND,0-0-10-10,s=1,c=1,t=2,pt=0,l=1,sg=0,ft=0,st=OK:1|"
                  "0;255;3;0;9;TSP:SOMETHING",
         "1 of 2 transmissions between the gateway and node 10"},
        {"parent-lost", kStart + "0;255;3;0;9;TSF:MSG:FPAR REQ,ID=10|10;1;1;0;0;1",
         "Node 10 lost its parent once"},
        {"radio-failed", kStart + "0;255;3;0;9;12 !TSM:INIT:TSP FAIL", "once"},
        {"child-battery", "11;3;3;0;0;80|11;3;1;0;0;1", "Node 11 sent a battery level as child 3"}};
    std::set<std::string> seen;
    for (const auto& each : cases) {
        const Described mesh(timed(each.lines));
        EXPECT_EQ(mesh.kinds(), each.kinds) << each.lines;
        ASSERT_FALSE(mesh.findings.empty());
        EXPECT_NE(mesh.findings[0].text.find(each.text), std::string::npos) << mesh.findings[0].text;
        for (const Finding& finding : mesh.findings)
            seen.insert(finding.kind->name);
    }
    EXPECT_EQ(seen.size(), findingKinds().size()) << "a recording for each kind";
    const std::string bare = "12;1;1;0;2;0\n12;1;1;0;2;1\n12;1;1;\n112;1;1;0;2;1\n12;1;1;0;2;0\n";
    EXPECT_EQ(Described(bare).kinds(), "unreadable garbled-unit");
    EXPECT_EQ(Described(bare + "0;0;3;0;2;\n" + repeated(99, "12;1;1;0;2;0\n")).kinds(), "") << "mixed";
}

TEST(Inspect, FindsNothingInHealthyMeshes) {
    const std::string quiet[] = {
        kStart + "@17 <0;0;3;0;2;|0;255;3;0;2;2.3.2|@28 <0;0;3;0;2;|0;255;3;0;2;2.3.2|@30 10;1;1;0;0;22",
        "0;255;3;0;9;0 MCO:BGN:INIT GW|0;255;3;0;9;3 TSM:INIT|" + kStart +
            "10;255;3;0;12;1.1|10;1;0;0;7;|10;255;3;0;26;2|10;255;3;0;6;0|<10;255;3;0;6;I|<10;1;1;0;0;1|"
            "10;1;1;1;0;1|10;255;3;0;21;0|10;255;3;0;22;99|10;255;3;0;32;500|10;255;3;0;33;500|"
            "10;255;3;0;16;|10;255;4;0;0;0A00|10;1;2;0;24;|10;255;0;0;17;2.3.2|10;1;1;0;0;\xb0",
        "10;1;1;0;0;2|0;255;3;0;14;Gateway startup "
        "complete.|11;255;0;0;17;2.4.0-alpha|11;1;0;0;3;|11;1;1;0;2;0",
        "255;9;3;0;3;|<255;9;3;0;4;11|<255;9;3;0;4;11|11;255;0;0;17;2.3.2",
        kStart + "0;255;3;0;9;TSF:MSG:FPAR REQ,ID=10|10;255;0;0;17;2.3.2|10;1;1;0;0;1|@12 "
                 "10;1;0;0;6;|10;2;0;0;3;"};
    for (const std::string& each : quiet)
        EXPECT_EQ(Described(timed(each)).kinds(), "") << each;
}

// The files are what the programs wrote, cut short.
TEST(Inspect, ReadsEveryFormat) {
    const char* const hexdump = "2026/11/26 23:59:59 OPEN (ipv4,127.0.0.1,39952)\n"
                                "2026/11/26 23:59:59 term 31 30 3b 30 3b 31 3b 30  |10;0;1;0|\n"
                                "2026/11/26 23:59:59 term 3b 30 3b 32              |;0;2|\n"
                                "2026/11/27 00:00:00 tcp  30 3b 30 3b 33 3b 30 3b  |0;0;3;0;|\n"
                                "2026/11/27 00:00:00 tcp  32 3b 0a                 |2;.|\n"
                                "2026/11/27 00:00:01 term 31 0d 0a                 |1..|\n"
                                "2026/11/27 00:00:01 CLOSE netcon (network read close)\n";
    const struct {
        const char* format;
        std::string text;
        Integer gateway, driver, at;
    } files[] = {
        {"hearthix-sim host --record", "> 10;0;1;0;0;1\n         5 > 10;0;1;0;0;21\r\n 2005 < 0;0;3;0;2;\n",
         1, 1, 5},
        {"ser2net trace-both with hexdump", hexdump, 1, 1, 1795737601000},
        {"ser2net trace-both without hexdump",
         "2026/11/26 03:43:35 OPEN (ipv4,127.0.0.1,46808)\n10;0;1;0;0;21\r\n0;0;3;0;2;\n"
         "11;1;12026/11/26 03:43:40 CLOSE netcon (network read close)\n",
         2, 1, -1},
        {"tio --log with timestamps",
         "[23:59:59.812] 10;0;1;0;0;20\r\n0;0;3;0;2;\r[00:00:01.000] 10;0;1;0;0;21\n", 2, 1, 86'401'000},
        {"tio --log with timestamps",
         "[00:00:00.008] 10;0;1;0;0;20\n[00:00:02.000] 10;0;1;0;0;21\n"
         "[00:00:01.500] 10;0;1;0;0;21\n",
         3, 0, 3500},
        {"tio --log with timestamps", "\x1b[1m[2026-11-26T03:35:59.857] \x1b[0m10;0;1;0;0;21\n[2026-11", 1, 1,
         1795664159857},
        {"bare lines", "ut=2\n10;0;1;0;0;20\n0;0;3;0;2;\n10;255;3;0;6;I\n10;0;1;0;0;21\n10;0;", 4, 2, -1}};
    for (const auto& file : files) {
        const Described described(file.text);
        EXPECT_STREQ(described.recording.format(), file.format);
        EXPECT_EQ(described.mesh.fromGateway, file.gateway) << file.text;
        EXPECT_EQ(described.mesh.fromDriver, file.driver) << file.text;
        EXPECT_EQ(described.mesh.nodes.at(10).lastAt, file.at) << file.text;
        EXPECT_EQ(described.mesh.nodes.at(10).children.at(0).variables.at(0).last, "21");
        EXPECT_EQ(described.kinds(), "") << file.text;
    }
    const std::vector<RecordedLine> replay = parseRecording(hexdump, "r");
    ASSERT_EQ(replay.size(), 2U);
    EXPECT_EQ(replay[1].at, 1000) << "the time of its last byte, from the first line on";
    EXPECT_EQ(replay[1].text.view(), "10;0;1;0;0;21\r");
}

TEST(Inspect, RefusesWhatIsNoRecording) {
    const std::pair<std::string, const char*> texts[] = {
        {"", "r is empty"},
        {"# A title\n\nSome prose; with; semicolons;\n", "r:1: expected a recording of hearthix-sim host"},
        {"1 > 10;0;1;0;0;1\n2 > 10;0;1;0;0;1\nhello\n3 > 1\n", "r:3: expected MILLISECONDS > LINE"},
        {"term 30 3b  |0;|\nterm zz  |0;|\n", "r:2: expected [YYYY/MM/DD HH:MM:SS] term BYTES"}};
    for (const auto& [text, start] : texts)
        try {
            Described{text};
            ADD_FAILURE() << start;
        } catch (const Failure& failure) {
            EXPECT_TRUE(failure.sentence.view().starts_with(start)) << failure.sentence.view();
        }
}

TEST(Inspect, KeepsItsMemoryAndColumns) {
    std::string lines;
    for (int i = 0; i < 22'000; ++i)
        lines += std::to_string(i % 255) + ";" + std::to_string(i % 250) + ";1;0;" + std::to_string(i / 255) +
                 ";" + std::string(100, 'x') + "\n" + std::to_string(i) + "0;1;1;0;0;1\n";
    const Described described(lines + std::string(200'000, ';'));
    EXPECT_GT(described.mesh.dropped, 0);
    EXPECT_LE(described.mesh.damaged.size(), MeshModel::kMostDamaged);
    std::istringstream report(textReport("r", described.recording, described.mesh, described.findings));
    for (std::string line; std::getline(report, line);)
        EXPECT_LE(line.size(), 80U) << line;
}

// Runs a command line of the shell in a folder of its own; $P is the program, and $S inspects.
int statusOf(const std::string& words) {
    std::string folder = std::filesystem::temp_directory_path() / "hearthix-inspect-XXXXXX";
    EXPECT_NE(mkdtemp(folder.data()), nullptr);
    std::ofstream(folder + "/good") << "1 > 10;0;1;0;0;1\n2 > 10;0;1;0;0;2\n";
    std::ofstream(folder + "/bad") << "1 > 10;0;1;0;47;1\n2 > 10;0;1;0;0;2\n3 > 10;0;1;0;0;2\n";
    const int status =
        std::system(("cd " + folder + "; P='" HEARTHIX_SIM "'; S=\"$P inspect\"; " + words).c_str());
    std::filesystem::remove_all(folder);
    return WEXITSTATUS(status);
}

TEST(Inspect, ReportsWithItsStatus) {
    const std::pair<const char*, int> runs[] = {
        {"$S good >/dev/null", 0},
        {"$S <bad >/dev/null", 3},
        {"$S . 2>/dev/null", 1},
        {"$S /dev/zero 2>/dev/null", 1},
        {"$S --nonsense 2>/dev/null", 2},
        {"$S --json bad | jq -e '.findings[0].address == \"0A00.UNKN047\" and .nodes[0].node == 10' "
         ">/dev/null",
         0},
        {"cat bad | $S --follow --json - | jq -s -e 'length == 2 and .[0].finding.line == 1' >/dev/null", 0},
        // A finding in what is added to a file.
        {"{ $S --follow good >out & }; n=0; cat bad >>good; until grep -q ^unnamed out || [ $((n += 1)) = "
         "600 ]; "
         "do sleep 0.1; done; kill -INT $!; wait $!",
         3}};
    for (const auto& [words, status] : runs)
        EXPECT_EQ(statusOf(words), status) << words;
}

// The settings of the page, with another device, port and folder.
TEST(Inspect, RecordsAHomeWithTheRecipe) {
    EXPECT_EQ(
        statusOf("port=$(echo quit | $P gateway --tcp 127.0.0.1:0 | sed -n 's/.*127.0.0.1://p')\n"
                 "$P gateway --pty >gateway & first=$!\n"
                 "try() { n=0; until eval \"$1\"; do [ $((n += 1)) -lt 600 ] || exit 9; sleep 0.1; done; }\n"
                 "trap 'kill $first $second; wait' EXIT\n"
                 "try 'grep -q \"gateway is\" gateway'; device=$(sed -n 's/.*gateway is //p' gateway)\n"
                 "awk '/^```/ {y = $1 ~ /yaml/; next} y' " INSPECT_PAGE
                 " | sed \"s|/dev/ttyUSB0|$device|; s|5003|$port|; s|/var/log|$PWD|\" >s.yaml\n"
                 "ser2net -n -c s.yaml -P pid >log 2>&1 & second=$!\n"
                 "try '$P host --listen 127.0.0.1:0 --serial socket://127.0.0.1:$port --until 0E01.STATUS "
                 ">>log 2>&1 </dev/null'\n"
                 "$S --json gateway.trace >json && jq -e '(.format | test(\"hexdump\")) and .start > 0 and "
                 ".gateway.assigned == [14] and (.nodes | length > 4)' json >log"),
        0);
}

// The table of docs/inspect.md is that of the code.
TEST(Inspect, IsDocumented) {
    std::ifstream file(INSPECT_PAGE);
    const std::string page(std::istreambuf_iterator<char>(file), {});
    std::string table;
    for (const FindingKind& each : findingKinds())
        table += std::string("| `") + each.name + "` | " + each.text + " | " + each.remedy + " |\n";
    EXPECT_NE(page.find(table), std::string::npos) << table;
}

} // namespace
} // namespace hearthix::sim
