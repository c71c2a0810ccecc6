// The parts of hearthix-sim without a driver: files, text, units, and the check of deliveries.
#include "sim/DeliveryCheck.hpp"
#include "sim/Failure.hpp"
#include "sim/HostModel.hpp"
#include "sim/MeshFile.hpp"
#include "sim/Recording.hpp"
#include "sim/Text.hpp"

#include <gtest/gtest.h>

namespace hearthix::sim {
namespace {

// A packet in words, "NewU 0A03.TEMP Name=n": the command, the address and further keys.
Ref<cHearthixCommand> packet(const String& text) {
    const std::vector<String> words = wordsOf(text);
    const auto command = Ref<cHearthixCommand>::make();
    command->SetMulti("mcmd", words[0]);
    if (words.size() > 1)
        command->SetMulti("addr", words[1]);
    for (std::size_t i = 2; i < words.size(); ++i)
        command->SetMulti(words[i].cut(0, 4), words[i].cut(5));
    return command;
}

template <class Parse>
std::string failureOf(const Parse& parse, const char* text) {
    try {
        parse(text, "m");
        return {};
    } catch (const Failure& failure) {
        return std::string(failure.sentence.view());
    }
}

// The document that the driver would get.
Ref<CXML> documentOf(const HostModel& model) {
    const auto document = Ref<CXML>::make();
    document->loadFromString(model.answerForDriver());
    return document;
}

TEST(Files, RefuseFaultsWithLineAndColumn) {
    const char* const meshes[][2] = {
        {"", "m:1:1: there is no [[node]]"},
        {"[[node]]\nname = oops", "m:2:8: "},
        {"[[node]]\nname = 'a'\nid = 255", "m:3:6: id must be a whole number from 1 to 254"},
        {"[[node]]\nname = 'a'\nbatery = 9", "m:3:1: the key 'batery' is unknown here"},
        {"[[node]]\nname = 'a'\nchild = [\n {id = 1, type = 'NOSUCH'}]", "m:4:18: this type is unknown"},
        {"[[node]]\nname = 'a'\nchild = [{id = 1, type = 'TEMP', low = 2, high = inf}]", "m:3:50: high"}};
    for (const auto& [text, start] : meshes)
        EXPECT_TRUE(failureOf(parseMesh, text).starts_with(start)) << text;
    for (const char* text : {"x > y", "12 no mark", "-1 < 1;2", "> 1"})
        EXPECT_TRUE(failureOf(parseRecording, text).starts_with("m:1: expected a recording")) << text;
}

TEST(Text, ContainsNoTerminalControls) {
    EXPECT_EQ(printable("a\x1b[2J\xff\xc3\xa4\xc2\x9b\n\xe2\x82|\xe0\x80\x9b|\xed\xa0\x80|\xe2\x80\xae"),
              "a?[2J?\xc3\xa4????|???|???|?");
    const std::string wide = "ab \xe6\xb8\xa9\xe6\xb8\xa9";
    EXPECT_EQ(lineOf(wide, 7), 9U);
    EXPECT_EQ(lineOf(wide, 6), 3U) << "ends after the blank";
    EXPECT_EQ(lineOf(wide.substr(3), 3), 3U) << "a character is not divided";
}

TEST(HostModel, FollowsTheDriver) {
    using Change = HostModel::Change;
    HostModel model;
    const struct {
        const char* packet;
        Change change;
        const char* unit;
    } steps[] = {{"SetValue 0A03.TEMP Valu=1", Change::unknown, ""},
                 {"NewU 0A03.TEMP Name=n Dimm=true RdNL=False", Change::created, "n::"},
                 {"SetValue 0a03.temp Valu=21.5 Batt=0", Change::value, "n:21.5:0"},
                 {"NoOp 0A03.TEMP Batt=80", Change::battery, "n:21.5:80"},
                 {"NewU 0A03.TEMP Name=other", Change::kept, "n:21.5:80"},
                 {"SetDesc 0A03.TEMP DATA=warm", Change::value, "n:warm:80"}};
    const auto shown = [](const Ref<HostUnit>& unit) {
        return unit ? concat(unit->name, ":", unit->value, ":", unit->battery) : String();
    };
    for (const auto& step : steps) {
        EXPECT_EQ(model.apply(*packet(step.packet)), step.change) << step.packet;
        EXPECT_EQ(shown(model.find("0A03.TEMP")).view(), step.unit);
    }
    HostModel loaded;
    loaded.load(*documentOf(model));
    EXPECT_EQ(shown(loaded.find("0a03.TEMP")).view(), "n:warm:80");
    for (Integer place = 0; place < 4000; ++place)
        model.apply(*packet(String("NewU ") + unitAddress(1 + place % 250, place / 250, 0)));
    EXPECT_LE(model.answerForDriver().size(), 65'000U);
    EXPECT_EQ(documentOf(model)->GetContainerCount("unit"), 250) << "one of each node";
}

TEST(DeliveryCheck, DistinguishesLostFromLateValues) {
    DeliveryCheck check;
    for (const char* line : {"10;3;1;0;0;1", "10;3;1;0;0;2", "10;4;1;0;2;0", "10;3;1;0;0;3",
                             "10;255;3;0;0;80", "10;4;1;0;2;1", "10;5;1;0;24;abc"})
        check.sent(line);
    for (const char* text : {"ON 0A04.STATUS", "SetValue 0A03.TEMP Valu=1", "SetValue 0A03.TEMP Valu=3",
                             "SetValue 0A03.TEMP Valu=2", "ON 0A04.STATUS", "SetDesc 0A05.VAR1 DATA=abc"})
        check.arrived(*packet(text));
    EXPECT_EQ(check.expected(), 6);
    EXPECT_EQ(check.missing(), 2) << "the skipped 2 and the switch's 1";
    EXPECT_EQ(check.unexpected(), 2) << "the late 2 and the second ON";
    check.commanded("ON", "0A04.STATUS", String());
    check.obeyed("10;4;1;0;2;0");
    EXPECT_EQ(check.commandsMissing(), 1);
    EXPECT_EQ(check.commandsUnexpected(), 1);
}

TEST(DeliveryCheck, CountsWhatWasInFlightAtADriversEnd) {
    DeliveryCheck check;
    HostModel model;
    const auto arrives = [&](const char* text) {
        model.apply(*packet(text));
        check.arrived(*packet(text));
    };
    for (const char* line : {"10;3;1;0;0;1", "10;4;1;0;0;2", "10;3;1;0;0;3", "10;5;1;0;0;4", "10;4;1;0;0;5"})
        check.sent(line);
    arrives("SetValue 0A03.TEMP Valu=3");
    check.commanded("ON", "0A04.STATUS", String());
    check.beginAnew();
    EXPECT_EQ(check.inFlight(), 2) << "the 4 and the 5";
    EXPECT_EQ(check.missing(), 2) << "the 1 and the 2 were sent before a value that has arrived";
    EXPECT_EQ(check.commandsInFlight(), 1);
    EXPECT_EQ(check.disagreements(model), 0) << "the new driver has received nothing yet";
    check.sent("10;3;1;0;0;3");
    check.sent("10;255;3;0;0;80");
    EXPECT_EQ(check.disagreements(model), 1) << "the unit does not exist";
    model.apply(*packet("NewU 0A03.TEMP"));
    arrives("SetValue 0A03.TEMP Valu=3 Batt=0");
    EXPECT_EQ(check.disagreements(model), 1) << "the battery level is missing";
    arrives("NoOp 0A03.TEMP Batt=80");
    EXPECT_EQ(check.disagreements(model), 0);
}

} // namespace
} // namespace hearthix::sim
