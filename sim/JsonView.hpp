// For scripts: prints one JSON object per event and line, in ASCII.
//
// Each has "time", in UTC, and "kind". Events of a unit have "address", "name", "value" and "battery", null
// before the first one; "battery" is a number, "value" a text, as the driver sent it. All other events have
// "text". Those for lines of the driver's log also have "level".
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
