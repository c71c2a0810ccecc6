#include "sim/HostRules.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/Output.hpp"
#include "sim/Text.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace hearthix::sim {

namespace {

constexpr std::size_t kMostFindings = 3;
constexpr std::size_t kMostBytes = 48;

struct Description {
    const char* name;
    const char* sentence;
    const char* driver; // what the real driver does when the rule is broken
};

constexpr std::array<Description, kRuleCount> kDescriptions{
    {{"whole-packets", "Each packet arrives in one piece.",
      "It can examine the first piece repeatedly and read nothing more."},
     {"lengths", "The lengths of packets and values are right, and never 0.",
      "It examines the same bytes without end, or splits the stream at wrong positions."},
     {"packet-types", "Packets begin with \"J\", \"X\", \"Y\", \"N\" or \"M\".",
      "It logs \"mySensors: Received malformed packet from host\" and discards the packet."},
     {"bit-64", "Common messages have bit 64 in their flags.", "It ends with status 1."},
     {"no-log-packets", "The host sends no log packets.", "It ends with status 1."},
     {"ready-first", "Commands to nodes wait for the driver's ready line.", "It ends with status 1."},
     {"command-order", "Commands whose order matters are separated by an answered ping.",
      "It can pass the commands to the gateway in the wrong order."},
     {"units-answer", "\"getUnits\" is answered by \"setUnits\" within 10 seconds.",
      "It does not answer the node that asked for an ID."},
     {"units-document", "The list of units is a complete Kbdb document.",
      "It can give a new node an ID that is in use."},
     {"units-size", "The packet with the list of units has at most 65,535 bytes.",
      "It reads the end of the list as packets."},
     {"units-complete", "The list contains every unit that the driver has created.",
      "It can give a new node an ID that is in use."},
     {"units-addresses", "The list contains the addresses as the driver has sent them.",
      "It can assign the unit to the wrong node."},
     {"values", "Values have the same bytes at both ends.", "It does not notice."},
     {"no-loss", "No packet is lost at 1,000 values per second.", "It does not notice."},
     {"second-link", "A second link with another connection ID leaves the first one alone.",
      "It receives no answers, or the answers for another driver."},
     {"restart", "A driver that ends by itself is started again.",
      "It no longer runs, so the host loses the mesh."},
     {"restart-pause", "The pauses between restarts grow, up to a minute.",
      "Its repeated starts keep the machine busy, or its users wait too long."}}};

String hexOf(std::string_view bytes) {
    String text;
    for (const char byte : bytes.substr(0, kMostBytes))
        text +=
            concat(text.empty() ? "" : " ", RightB(concat("0", Hex(static_cast<unsigned char>(byte))), 2));
    if (bytes.size() > kMostBytes)
        text += concat(" ... (", Str(static_cast<std::uint64_t>(bytes.size())), " bytes)");
    return text;
}

} // namespace

void Verdicts::broken(Rule rule, std::string_view bytes, const String& what) {
    Entry& entry = this->entry(rule);
    entry.seen = true;
    if (entry.findings.size() < kMostFindings)
        entry.findings.push_back({clockText(true), hexOf(bytes), what});
}

const char* Verdicts::resultOf(const Entry& entry) {
    return !entry.findings.empty() ? "broken" : entry.seen ? "kept" : "not seen";
}

void Verdicts::print() const {
    for (std::size_t i = 0; i < kRuleCount; ++i) {
        const Description& rule = kDescriptions[i];
        putLine(padded(resultOf(entries_[i]), 10) + padded(rule.name, 17) + rule.sentence);
        for (const Finding& finding : entries_[i].findings) {
            putLine(concat("          ", finding.time, " ", String(printable(finding.what)), "."));
            if (!finding.bytes.empty())
                putLine(concat("          bytes: ", finding.bytes));
        }
        if (!entries_[i].findings.empty())
            putLine(concat("          The driver: ", rule.driver));
    }
}

void Verdicts::printJson() const {
    nlohmann::ordered_json rules = nlohmann::json::array();
    for (std::size_t i = 0; i < kRuleCount; ++i) {
        nlohmann::ordered_json findings = nlohmann::json::array();
        for (const Finding& each : entries_[i].findings)
            findings.push_back(
                {{"time", each.time.view()}, {"what", each.what.view()}, {"bytes", each.bytes.view()}});
        rules.push_back({{"rule", kDescriptions[i].name},
                         {"result", resultOf(entries_[i])},
                         {"sentence", kDescriptions[i].sentence},
                         {"driver", kDescriptions[i].driver},
                         {"findings", findings}});
    }
    const nlohmann::ordered_json report{{"status", exitStatus()}, {"rules", rules}};
    putLine(report.dump(2, ' ', true, nlohmann::json::error_handler_t::replace));
}

int Verdicts::exitStatus() const {
    const auto isBroken = [](const Entry& entry) { return !entry.findings.empty(); };
    if (std::any_of(entries_.begin(), entries_.end(), isBroken))
        return 3;
    return std::all_of(entries_.begin(), entries_.end(), [](const Entry& entry) { return entry.seen; }) ? 0
                                                                                                        : 4;
}

} // namespace hearthix::sim
