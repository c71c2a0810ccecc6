// Whether everything came through a driver: the gateway's values to the host, the host's commands to the
// gateway.
//
// For each unit the values must arrive at the host in the order in which the gateway has sent them; between
// units there is no order. A value that is missing counts as lost when a later one of its unit has come, or
// when none has come by the end.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "runtime/String.hpp"

#include <deque>
#include <map>
#include <set>
#include <string>

namespace hearthix::sim {

class DeliveryCheck {
public:
    // A line from the gateway; only set lines of a child count.
    void sent(const String& line);
    // A packet at the host; only values of units count.
    void arrived(const cHearthixCommand& packet);

    // A command to a unit, by the host's word for it, and a line at the gateway.
    void commanded(const String& word, const String& address, const String& value);
    void obeyed(const String& line);

    Integer commandsMissing() const noexcept { return static_cast<Integer>(commands_.size()); }
    Integer expected() const noexcept { return expected_; }
    Integer delivered() const noexcept { return delivered_; }
    Integer unexpected() const noexcept { return unexpected_; }
    // Sent and not arrived up to now, lost ones included.
    Integer missing() const noexcept { return expected_ - delivered_; }

private:
    // By unit address, in capitals: what is still to come.
    std::map<std::string, std::deque<std::string>> pending_;
    std::multiset<std::string> commands_; // lines that are still to come
    Integer expected_ = 0;
    Integer delivered_ = 0;
    Integer unexpected_ = 0;
};

} // namespace hearthix::sim
