// The address of a TCP listener.
#pragma once

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix::sim {

struct SocketAddress {
    String host;
    Integer port = 0;

    String text() const { return concat(host, ":", Str(port)); }
};

} // namespace hearthix::sim
