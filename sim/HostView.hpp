// The user's view of events: a live screen on a terminal, plain lines elsewhere.
#pragma once

#include "sim/HostModel.hpp"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace hearthix::sim {

class HostView {
public:
    HostView() = default;
    HostView(const HostView&) = delete;
    HostView& operator=(const HostView&) = delete;
    virtual ~HostView() = default;

    // A line for the log. The kind is a short word for its source.
    virtual void note(const String& kind, const String& text) = 0;
    virtual void unitChanged(const HostUnit& unit, HostModel::Change change) = 0;
    // Lists the units, for the command "units".
    virtual void showUnits(const HostModel& model) = 0;
    virtual void showHelp(const std::vector<std::string>& lines) = 0;
};

// Prints one line for each event, without control characters.
class PlainView : public HostView {
public:
    explicit PlainView(std::function<void(const String& line)> entered) : entered_(std::move(entered)) {}

    void note(const String& kind, const String& text) override;
    void unitChanged(const HostUnit& unit, HostModel::Change change) override;
    void showUnits(const HostModel& model) override;
    void showHelp(const std::vector<std::string>& lines) override;
    // Bytes from standard input.
    void typed(std::string_view bytes);

private:
    std::function<void(const String& line)> entered_;
    String partial_;
};

} // namespace hearthix::sim
