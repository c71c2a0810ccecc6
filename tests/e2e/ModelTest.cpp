// Random conversations, the same ones every time, in which driver and model must agree on every effect.
#include "tests/e2e/DriverModel.hpp"
#include "tests/support/Kbdb.hpp"

#include <gtest/gtest.h>

#include <random>

namespace hearthix::test {

namespace {

using Pool = std::vector<std::string>;

const Pool kNodes{"0", "5", "10", "31", "44", "300", "255"};
const Pool kChildren{"0", "3", "254", "255"};
const Pool kPayloads{"0", "1", "21.5", "-7", "0.0", "100", "abc", "", "on", "-0.5"};
const Pool kLevels{"0", "80", "80.9", "100", "-3", "low"};
const Pool kInternal{"0", "0", "0", "2", "3", "6", "7", "9", "11", "12", "14", "20"};
const Pool kWords{"ON", "OFF", "SetValue", "Qery", "NoOp", ""};
const Pool kRoots{"0A03", "0500", "0AFF", "2C03", "1F03", "1FF", "123", "FF03", "0003", "6363"};
const Pool kSuffixes{".TEMP", ".STATUS", ".SCENE", ".NOSUCH", ".TRIP", "", ".HUM.X", ".WINDOW"};
const Pool kUnits{"0103.TEMP", "0A03.HUM", "FC00.TEMP", "FD00.TEMP", "FE00.TEMP", "FF00.TEMP", "lamp"};
const Pool kBroken{"", "hello", "1;2;3;4;5", "10;3;1;0;0"};

class Talker {
public:
    explicit Talker(unsigned seed) : random_(seed) {}
    bool chance(unsigned percent) { return random_() % 100 < percent; }
    const std::string& pick(const Pool& pool) { return pool[random_() % pool.size()]; }
    long number(unsigned limit) { return static_cast<long>(random_() % limit); }

    std::string line(const DriverModel& model) {
        const std::string head = pick(kNodes) + ";" + pick(kChildren) + ";";
        if (chance(5))
            return pick(kBroken);
        if (chance(55))
            return head + "1;" + std::to_string(number(2)) + ";" + std::to_string(number(49)) + ";" +
                   pick(kPayloads);
        if (chance(15))
            return head + pick({"0", "2", "4", "9"}) + ";0;6;" + pick(kPayloads);
        const std::string& type = pick(kInternal);
        if (type != "0")
            return head + "3;0;" + type + ";" + pick(kPayloads);
        return (model.knows("0A03") && chance(10) ? "10;3" : pick(kNodes) + ";255") + ";3;0;0;" +
               pick(kLevels);
    }

private:
    std::mt19937 random_;
};

void append(Effects& all, const Effects& more) {
    all.host.insert(all.host.end(), more.host.begin(), more.host.end());
    all.gateway += more.gateway;
}

// Some lines in one piece.
testing::AssertionResult agreeOnLines(Conversation& talk, DriverModel& model, Talker& talker) {
    Effects expected;
    std::string lines;
    for (long i = talker.number(4); i >= 0; --i) {
        const std::string line = talker.line(model);
        append(expected, model.gatewaySays(line));
        lines += line + "\n";
    }
    if (const Effects seen = talk.gatewaySays(lines); seen != expected)
        return testing::AssertionFailure()
               << lines << testing::PrintToString(seen) << "\nnot " << testing::PrintToString(expected);
    return testing::AssertionSuccess();
}

// Some host commands in one piece.
testing::AssertionResult agreeOnCommands(Conversation& talk, DriverModel& model, Talker& talker) {
    Effects expected;
    std::string packets;
    for (long i = talker.number(4); i >= 0; --i) {
        if (talker.chance(10)) {
            Pool units;
            for (long count = talker.number(4); count > 0; --count)
                units.push_back(talker.pick(kUnits));
            append(expected, model.unitsCome(units));
            packets += unitsPacket(unitList(units, talker.chance(50) ? ByteOrder::little : ByteOrder::big));
            continue;
        }
        const std::string& word = talker.pick(kWords);
        const std::string address = talker.pick(kRoots) + talker.pick(kSuffixes);
        const std::string& value = talker.pick(kPayloads);
        append(expected, model.hostSends(word, address, value));
        packets +=
            multipacket({{"mcmd", word}, {"addr", address}, {"Valu", value}}, talker.chance(50) ? 128 : 0);
    }
    if (const Effects seen = talk.hostSends(packets); seen != expected)
        return testing::AssertionFailure()
               << readable(packets) << "\n"
               << testing::PrintToString(seen) << "\nnot " << testing::PrintToString(expected);
    return testing::AssertionSuccess();
}

TEST(Model, AgreesInRandomConversations) {
    constexpr int kTurns = 400;
    for (const unsigned seed : {1u, 2u, 3u, 4u}) {
        Conversation talk(seed % 2 == 0 ? Transport::tcp : Transport::serial);
        DriverModel model;
        Talker talker(seed);
        for (int turn = 0; turn < kTurns; ++turn) {
            ASSERT_TRUE(agreeOnLines(talk, model, talker)) << "seed " << seed << ", turn " << turn;
            ASSERT_TRUE(agreeOnCommands(talk, model, talker)) << "seed " << seed << ", turn " << turn;
        }
    }
}

TEST(Model, AgreesOnEveryVariableType) {
    Conversation talk;
    DriverModel model;
    for (int type = 0; type <= 101; ++type)
        for (const char* value : {"0", "1", "x"}) {
            const std::string line = "10;3;1;0;" + std::to_string(type) + ";" + value;
            EXPECT_EQ(talk.gatewaySays(line + "\n"), model.gatewaySays(line)) << line;
        }
}

} // namespace

} // namespace hearthix::test
