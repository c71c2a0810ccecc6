// The rules by which check-host judges a host, and its findings for each rule.
//
// docs/host-link.md explains the rules for authors of hosts, under the same names.
#pragma once

#include "runtime/text/String.hpp"

#include <array>
#include <string_view>
#include <vector>

namespace hearthix::sim {

enum class Rule {
    wholePackets,
    lengths,
    packetTypes,
    bit64,
    noLogPackets,
    readyFirst,
    commandOrder,
    unitsAnswer,
    unitsDocument,
    unitsSize,
    unitsComplete,
    unitsAddresses,
    values,
    noLoss,
    secondLink,
    restart,
    restartPause
};
inline constexpr std::size_t kRuleCount = 17;

class Verdicts {
public:
    // Records that the host could have broken the rule and did not. One violation outweighs all of these.
    void kept(Rule rule) { entry(rule).seen = true; }
    // Records a violation: the bytes that show it, if any, and a sentence without a full stop.
    void broken(Rule rule, std::string_view bytes, const String& what);

    bool isBroken(Rule rule) { return !entry(rule).findings.empty(); }

    // Prints the report to standard output.
    void print() const;
    void printJson() const;
    // 0 if all rules were kept, 3 if some were broken, 4 if some were not seen.
    int exitStatus() const;

private:
    struct Finding {
        String time; // local time of day
        String bytes;
        String what;
    };
    struct Entry {
        bool seen = false;
        std::vector<Finding> findings; // the first few
    };

    Entry& entry(Rule rule) { return entries_[static_cast<std::size_t>(rule)]; }
    static const char* resultOf(const Entry& entry);

    std::array<Entry, kRuleCount> entries_;
};

} // namespace hearthix::sim
