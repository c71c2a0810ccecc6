// The log. The driver has no file of its own: every line goes to the host.
//
// Each line polls the host socket, so a command from the host may be handled before a call returns. Code that
// logs keeps nothing across the call that such a command could change. Logging before there is a host socket
// raises NilObjectException.
#pragma once

#include "runtime/String.hpp"

namespace hearthix {

namespace Globals {
// Levels: 1 broken packets, 2 ordinary lines, 4 detail and faults of the links.
void writelog(const String& message, Integer level);
} // namespace Globals

namespace HearthixSupport {
// At level 2.
void WriteLog(const String& message);
} // namespace HearthixSupport

} // namespace hearthix
