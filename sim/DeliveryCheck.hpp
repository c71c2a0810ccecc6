// Whether every value that a gateway has sent has come through to the host.
//
// For each unit the values must arrive at the host in the order in which the gateway has sent them; between
// units there is no order. A value that is missing counts as lost when a later one of its unit has come, or
// when none has come by the end.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "runtime/String.hpp"

#include <deque>
#include <map>
#include <string>

namespace hearthix::sim {

class DeliveryCheck {
public:
    // A line from the gateway; only set lines of a child count.
    void sent(const String& line);
    // A packet at the host; only values of units count.
    void arrived(const cHearthixCommand& packet);

    Integer expected() const noexcept { return expected_; }
    Integer delivered() const noexcept { return delivered_; }
    Integer unexpected() const noexcept { return unexpected_; }
    // Sent and not arrived up to now, lost ones included.
    Integer missing() const noexcept { return expected_ - delivered_; }

private:
    // By unit address, in capitals: what is still to come.
    std::map<std::string, std::deque<std::string>> pending_;
    Integer expected_ = 0;
    Integer delivered_ = 0;
    Integer unexpected_ = 0;
};

} // namespace hearthix::sim
