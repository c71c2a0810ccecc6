// Whether everything came through a driver: the gateway's values to the host, the host's commands to the
// gateway.
//
// For each unit the values must arrive at the host in the order in which the gateway has sent them; between
// units there is no order. A value that is missing counts as lost when a later one of its unit has come, or
// when none has come by the end.
//
// When a driver ends, what was on its way is lost with it: values after the last one that has arrived, of
// whatever unit, and commands that haven't reached the gateway. A value sent before that one was lost
// earlier, and stays missing.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "runtime/text/String.hpp"
#include "sim/HostModel.hpp"

#include <deque>
#include <map>
#include <set>
#include <string>

namespace hearthix::sim {

class DeliveryCheck {
public:
    // A line from the gateway; only set lines of a child and battery levels count.
    void sent(const String& line);
    // A packet at the host; only values of units count.
    void arrived(const cHearthixCommand& packet);

    // A command to a unit, by the host's word for it, and a line at the gateway.
    void commanded(const String& word, const String& address, const String& value);
    void obeyed(const String& line);

    // A new driver has come: the one before is gone, with what was on its way.
    void beginAnew();
    // Units that don't show the value and the battery level that the gateway has sent last, to this driver.
    Integer disagreements(const HostModel& model) const;

    Integer commandsMissing() const noexcept { return static_cast<Integer>(commands_.size()); }
    // Set lines at the gateway that nobody has commanded here.
    Integer commandsUnexpected() const noexcept { return commandsUnexpected_; }
    Integer commandsInFlight() const noexcept { return commandsInFlight_; }
    Integer expected() const noexcept { return expected_; }
    Integer delivered() const noexcept { return delivered_; }
    Integer unexpected() const noexcept { return unexpected_; }
    // Lost with a driver that has ended.
    Integer inFlight() const noexcept { return inFlight_; }
    // Sent and not arrived up to now, lost ones included, without those in flight.
    Integer missing() const noexcept { return expected_ - delivered_ - inFlight_; }

private:
    struct Value {
        std::string told;
        Integer number = 0; // in the order in which they were sent
    };

    // By unit address, in capitals: what is still to come, and what came from the gateway last.
    std::map<std::string, std::deque<Value>> pending_;
    std::map<std::string, std::string> latest_;
    std::map<std::string, std::string> batteries_; // by the node's two digits
    std::multiset<std::string> commands_;          // lines that are still to come
    Integer commandsUnexpected_ = 0;
    Integer commandsInFlight_ = 0;
    Integer expected_ = 0;
    Integer delivered_ = 0;
    Integer unexpected_ = 0;
    Integer inFlight_ = 0;
    Integer lastArrived_ = 0; // the highest number
};

} // namespace hearthix::sim
