// From a sensor's line to the host's units, and from a host's command to the sensor's line.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

namespace hearthix::test {

namespace {

struct Step {
    const char* name;
    std::string said;
    Packets host;
    std::string gateway;
};

Packet creatingNode(const std::string& node) {
    return log("creating unit at node level for node: " + node);
}
Packet creatingChild(const std::string& root) {
    return log("creating child object at Address: " + root);
}
Packet creatingUnit(const std::string& address) {
    return log("creating Hearthix Unit for " + address);
}

TEST(Units, GrowFromValues) {
    Conversation talk;
    const Step steps[] = {
        {"first value of a new sensor",
         "10;3;1;0;0;21.5\n",
         {creatingNode("0A"), creatingChild("0A03"), creatingUnit("0A03.TEMP"),
          newUnit("0A03", "TEMP", true, true), setValue("0A03.TEMP", "21.5")},
         ""},
        {"second value", "10;3;1;0;0;-3\r\n", {setValue("0A03.TEMP", "-3")}, ""},
    };
    for (const Step& step : steps)
        EXPECT_EQ(talk.gatewaySays(step.said), effects(step.host, step.gateway)) << step.name;
}

} // namespace

} // namespace hearthix::test
