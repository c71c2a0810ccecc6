// cMSCommand: one MySensors message, parsed from a line of the serial API.
//
//   node-id ; child-sensor-id ; command ; ack ; type ; payload
//
// Five decimal numbers and a text, separated by ";", without a line end. A number that does not begin with
// digits reads as 0, no range is checked, and fields after the sixth are ignored.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

class cMSCommand : public Object {
public:
    // Parses the line and stores in good whether that succeeded.
    explicit cMSCommand(const String& line);

    String RawCommand; // always empty, as hosts expect of the log lines that quote it
    Integer nodeID = 0;
    Integer childID = 0;
    Integer messageType = 0;
    Integer ack = 0;
    Integer SubType = 0;
    String PayLoad;
    String rootAddress; // two hexadecimal digits of the node, two of the child
    bool good = false;
    String HearthixAddressWithSubtype; // the address of the unit; empty unless this is a set message

    // Fills the properties. For a line of fewer than six fields it returns false and changes nothing.
    virtual bool parseCommand(const String& line);

private:
    void logFields() const;
    String describeSubType() const;
};

namespace mySensors {
// Returns the root address, built from the low byte of each number: node 10, child 3 is 0A03.
String rootAddressOf(Integer node, Integer child);
} // namespace mySensors

} // namespace hearthix
