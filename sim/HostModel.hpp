// The units as a host keeps them: created by the driver, changed by what it sends, never removed.
//
// Addresses ignore case. The model knows no socket and no file; its document is the same for the driver's
// question for units and for a units file: a container "unit" for each, with the values Address, Name, Value,
// Battery, List, Dimmable and ReadOnly.
#pragma once

#include "document/CXML.hpp"
#include "packets/cHearthixCommand.hpp"
#include "runtime/values/Clock.hpp"

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
    clocks::Nanoseconds changedAt = 0; // of the monotonic clock; 0 for a unit that was only loaded
};

class HostModel {
public:
    enum class Change {
        none,    // the command is about no unit, or tells nothing new
        created, // a new unit
        kept,    // a unit to be created that was there
        value,
        battery,
        unknown // a value or a battery level of a unit that was never created
    };

    Change apply(const cHearthixCommand& command);
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
};

} // namespace hearthix::sim
