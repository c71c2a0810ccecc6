// The units of a host. The driver creates and changes them. They are never removed.
//
// Addresses ignore case. The answer to the driver's "getUnits" and the units file are the same document: a
// container "unit" for each unit, with the values Address, Name, Value, Battery, List, Dimmable and ReadOnly.
#pragma once

#include "document/CXML.hpp"
#include "hostlink/cHearthixCommand.hpp"
#include "runtime/values/Clock.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace hearthix::sim {

struct HostUnit : Object {
    String address;
    String name;
    String value;   // "ON", "OFF", a level or a description; empty before the first
    String battery; // per cent; empty before the first report
    String list;
    bool dimmable = false;
    bool readOnly = false;
    // Whether a level other than 0 was received. The driver sends 0 for units without a battery.
    bool hasBattery = false;
    std::vector<double> recent;        // the latest values that are numbers; the newest is the last one
    clocks::Nanoseconds changedAt = 0; // of the monotonic clock; 0 for a unit that was only loaded
};

// A text that is a finite number as a whole.
std::optional<double> numberIn(std::string_view text);

class HostModel {
public:
    static constexpr std::size_t kRecentValues = 32;

    enum class Change {
        none,    // the command does not concern a unit, or changes nothing
        created, // a new unit
        kept,    // a unit to be created that exists already
        value,
        battery,
        unknown // a value or a battery level of a unit that was never created
    };

    Change apply(const cHearthixCommand& command);
    // Reads a node's name from the driver's log, which contains it when the node presents itself.
    void hearLog(const String& line);
    // The unit's name if a user gave it one; otherwise the name of its node, or the driver's default.
    String nameOf(const HostUnit& unit) const;
    // Returns nil if there is no such unit.
    Ref<HostUnit> find(const String& address) const;
    // In the order of their creation.
    const std::vector<Ref<HostUnit>>& units() const noexcept { return units_; }

    Ref<CXML> document() const;
    // Adds the units of a document that do not exist yet.
    void load(const CXML& document);
    // The document for the driver. A packet is limited to 64 KiB: with too many units it contains one unit of
    // each node and only its address, which is enough for the driver.
    String answerForDriver() const;

private:
    Ref<HostUnit> add(const String& address);

    std::vector<Ref<HostUnit>> units_;
    Dictionary index_;
    Dictionary nodeNames_;
};

} // namespace hearthix::sim
