// The lines of the radio log of MySensors. A controller receives those that the gateway writes.
#pragma once

#include "runtime/text/String.hpp"

#include <string_view>

namespace hearthix::sim {

struct RadioEvent {
    enum class Kind {
        none,    // not from the radio
        unknown, // from the radio, and not interpreted
        received,
        sent,
        failed,     // sent without an acknowledgement
        search,     // a node asks for a parent
        parentLost, // the node that writes the log has lost its parent
        radioFailed // of the node that writes the log
    };
    Kind kind = Kind::none;
    Integer node = -1; // the other end of a transmission, or the node that searches
};

RadioEvent radioEventOf(std::string_view text);

} // namespace hearthix::sim
