// For scripts: one JSON object a line for each event, whatever came over the wire in plain ASCII.
//
// Each has "time", in UTC, and "kind". What concerns a unit has "address", "name", "value" and "battery",
// null where nothing came yet; "battery" is a number, "value" a text, as the driver sent it. Everything else
// has "text", and a line of the driver's log its "level".
#pragma once

#include "sim/HostView.hpp"

namespace hearthix::sim {

class JsonView : public PlainView {
public:
    using PlainView::PlainView;

    void note(const String& kind, const String& text) override;
    void unitChanged(const HostUnit& unit, HostModel::Change change) override;
    void showUnits(const HostModel& model) override;
};

} // namespace hearthix::sim
