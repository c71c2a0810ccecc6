// The units as a host keeps them: created by the driver, changed by what it sends, never removed.
//
// Addresses ignore case. The model knows no socket and no file; its document is the same for the driver's
// question for units and for a units file: a container "unit" for each, with the values Address, Name, Value,
// Battery, List, Dimmable and ReadOnly.
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
    // Whether a level other than 0 ever came: the driver tells 0 for what has no battery.
    bool hasBattery = false;
    std::vector<double> recent;        // its last values, as far as they are numbers; the newest is the last
    clocks::Nanoseconds changedAt = 0; // of the monotonic clock; 0 for a unit that was only loaded
};

// A text that is a finite number as a whole.
std::optional<double> numberIn(std::string_view text);

class HostModel {
public:
    static constexpr std::size_t kRecentValues = 32;

    enum class Change {
        none,    // the command is about no unit, or tells nothing new
        created, // a new unit
        kept,    // a unit to be created that was there
        value,
        battery,
        unknown // a value or a battery level of a unit that was never created
    };

    Change apply(const cHearthixCommand& command);
    // Learns a node's name from the driver's log, which tells it when the node presents itself.
    void hearLog(const String& line);
    // The unit's name where somebody gave it one, or its node's; otherwise the one that the driver made up.
    String nameOf(const HostUnit& unit) const;
    // Nil when there is none.
    Ref<HostUnit> find(const String& address) const;
    // In the order of their creation.
    const std::vector<Ref<HostUnit>>& units() const noexcept { return units_; }

    Ref<CXML> document() const;
    // Adds the units of a document; one that is there already is left alone.
    void load(const CXML& document);
    // The document in a string, for the driver. A packet holds 64 KiB: if the units are too many, then one of
    // each node and only its address, which is what the driver looks at.
    String answerForDriver() const;

private:
    Ref<HostUnit> add(const String& address);

    std::vector<Ref<HostUnit>> units_;
    Dictionary index_;
    Dictionary nodeNames_;
};

} // namespace hearthix::sim
