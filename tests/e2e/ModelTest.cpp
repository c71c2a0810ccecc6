// Random conversations, the same ones every time, in which driver and model must agree on every effect.
#include "tests/e2e/DriverModel.hpp"

#include <gtest/gtest.h>

#include <random>

namespace hearthix::test {

namespace {

using Pool = std::vector<std::string>;

const Pool kNodes{"0", "5", "10", "31", "44", "300", "255"};
const Pool kChildren{"0", "3", "254", "255"};
const Pool kPayloads{"0", "1", "21.5", "-7", "0.0", "100", "abc", "", "on", "-0.5"};
const Pool kLevels{"0", "80", "80.9", "100", "-3", "low"};
const Pool kInternal{"2", "3", "6", "7", "9", "11", "12", "14", "20"};
const Pool kWords{"ON", "OFF", "SetValue", "Qery", "NoOp", ""};
const Pool kRoots{"0A03", "0500", "0AFF", "2C03", "2C00", "2CFE",
                  "1F03", "1FF",  "123",  "FF03", "0003", "6363"};
const Pool kSuffixes{".TEMP", ".STATUS", ".SCENE", ".NOSUCH", ".TRIP", "", ".HUM.X", ".WINDOW"};
const Pool kBroken{"", "hello", "1;2;3;4;5", "10;3;1;0;0"};

// What is said in one piece, and what the model says of it.
struct Turn {
    std::string said;
    Effects expected;
    void add(const std::string& more, const Effects& effects) {
        said += more;
        expected.host.insert(expected.host.end(), effects.host.begin(), effects.host.end());
        expected.gateway += effects.gateway;
    }
};

class Talker {
public:
    explicit Talker(unsigned seed) : random_(seed) {}

    Turn gatewayTurn() {
        Turn turn;
        for (unsigned count = below(4); count <= 4; ++count) {
            const std::string text = line();
            turn.add(text + "\n", model_.gatewaySays(text));
        }
        return turn;
    }

    Turn hostTurn() {
        Turn turn;
        for (unsigned count = below(4); count <= 4; ++count) {
            const std::string& word = pick(kWords);
            const std::string address = pick(kRoots) + pick(kSuffixes);
            const std::string& value = pick(kPayloads);
            const unsigned char flags = below(2) == 0 ? 0 : 128;
            turn.add(multipacket({{"mcmd", word}, {"addr", address}, {"Valu", value}}, flags),
                     model_.hostSends(word, address, value));
        }
        return turn;
    }

private:
    unsigned below(unsigned limit) { return static_cast<unsigned>(random_()) % limit; }
    const std::string& pick(const Pool& pool) { return pool[random_() % pool.size()]; }

    std::string line() {
        const std::string head = pick(kNodes) + ";" + pick(kChildren) + ";";
        switch (below(10)) {
        case 0: return pick(kBroken);
        case 1: return head + pick({"0", "2", "4", "9"}) + ";0;6;" + pick(kPayloads);
        case 2: return head + "3;0;" + pick(kInternal) + ";" + pick(kPayloads);
        case 3: // a child's battery level ends a driver that doesn't know the child
            return (model_.knows("0A03") ? "10;3" : pick(kNodes) + ";255") + ";3;0;0;" + pick(kLevels);
        case 4: return pick(kNodes) + ";255;3;0;0;" + pick(kLevels);
        default: return head + "1;1;" + std::to_string(below(49)) + ";" + pick(kPayloads);
        }
    }

    std::mt19937 random_;
    DriverModel model_;
};

TEST(Model, AgreesInRandomConversations) {
    constexpr int kTurns = 400;
    for (const unsigned seed : {1u, 2u, 3u, 4u}) {
        Conversation talk(seed % 2 == 0 ? Transport::tcp : Transport::serial);
        Talker talker(seed);
        for (int i = 0; i < kTurns; ++i) {
            const Turn lines = talker.gatewayTurn();
            ASSERT_EQ(talk.gatewaySays(lines.said), lines.expected) << lines.said << "seed " << seed;
            const Turn packets = talker.hostTurn();
            ASSERT_EQ(talk.hostSends(packets.said), packets.expected)
                << readable(packets.said) << "seed " << seed;
        }
    }
}

} // namespace

} // namespace hearthix::test
