// cMSCommand: one MySensors message, as a line of the serial API taken apart.
//
//   node-id ; child-sensor-id ; command ; ack ; type ; payload
//
// Five decimal numbers and a text, separated by ";"; the line end is gone by now. Junk in a number reads as
// 0, no range is checked, and what follows a sixth ";" is dropped.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

class cMSCommand : public Object {
public:
    // Parses the line; good tells whether it was one.
    explicit cMSCommand(const String& line);

    String RawCommand; // stays empty: hosts know the log lines that quote it without a text
    Integer nodeID = 0;
    Integer childID = 0;
    Integer messageType = 0;
    Integer ack = 0;
    Integer SubType = 0;
    String PayLoad;
    String rootAddress; // two hexadecimal digits of the node, two of the child
    bool good = false;
    String HearthixAddressWithSubtype; // the unit's address; of a set message only

    // Fills in the properties. False, and everything as it was, for a line of fewer than six fields.
    virtual bool parseCommand(const String& line);

private:
    void logFields() const;
    String describeSubType() const;
};

namespace mySensors {
// The root address of a child, from the low byte of each number: node 10, child 3 is 0A03.
String rootAddressOf(Integer node, Integer child);
} // namespace mySensors

} // namespace hearthix
