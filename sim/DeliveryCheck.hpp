// Checks that a driver delivers everything: the gateway's values to the host, and the host's commands to the
// gateway.
//
// The values of a unit must arrive at the host in the order in which the gateway sent them; values of
// different units may arrive in any order. A value is lost when a later one of its unit arrives first, or
// when it has not arrived by the end.
//
// A driver that ends may lose the messages in flight: the values that the gateway sent after the latest one
// that has arrived, of any unit, and the commands that have not reached the gateway. Values sent before that
// one stay missing.
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

    // A command to a unit, with the host's word for it; and a line that the gateway received.
    void commanded(const String& word, const String& address, const String& value);
    void obeyed(const String& line);

    // Starts with a new driver: counts what is missing as lost in flight when the previous driver ended.
    void beginAnew();
    // The number of units that do not show the value and battery level that the gateway sent last to this
    // driver.
    Integer disagreements(const HostModel& model) const;

    Integer commandsMissing() const noexcept { return static_cast<Integer>(commands_.size()); }
    // The number of set lines at the gateway that no command has caused.
    Integer commandsUnexpected() const noexcept { return commandsUnexpected_; }
    Integer commandsInFlight() const noexcept { return commandsInFlight_; }
    Integer expected() const noexcept { return expected_; }
    Integer delivered() const noexcept { return delivered_; }
    Integer unexpected() const noexcept { return unexpected_; }
    // Messages that were lost when a driver ended.
    Integer inFlight() const noexcept { return inFlight_; }
    // Messages that were sent and have not arrived, including lost values, without those lost in flight.
    Integer missing() const noexcept { return expected_ - delivered_ - inFlight_; }

private:
    struct Value {
        std::string words;  // the host's word for it and the value
        Integer number = 0; // in the order in which they were sent
    };

    // By unit address, in capitals: the values that must still arrive, and the gateway's latest one.
    std::map<std::string, std::deque<Value>> pending_;
    std::map<std::string, std::string> latest_;
    std::map<std::string, std::string> batteries_; // by the node's two digits
    std::multiset<std::string> commands_;          // lines that must still arrive
    Integer commandsUnexpected_ = 0;
    Integer commandsInFlight_ = 0;
    Integer expected_ = 0;
    Integer delivered_ = 0;
    Integer unexpected_ = 0;
    Integer inFlight_ = 0;
    Integer lastArrived_ = 0; // the highest number
};

} // namespace hearthix::sim
