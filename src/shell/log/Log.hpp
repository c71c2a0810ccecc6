// The log. It keeps no file of its own: every line goes to a sink, which in the driver is the host's socket.
//
// A line of writelog and WriteLog polls the sink after it, so a command from the host may be handled before
// the call returns. Code that logs keeps nothing across the call that such a command could change. A line
// without a sink raises NilObjectException.
#pragma once

#include "runtime/text/String.hpp"

#include <functional>

namespace hearthix {

namespace Log {

// The most bytes of a level and its text that a host is told. Code that dumps data of any length into a
// line need not dump more.
constexpr Integer kLongestBody = 250;

// The program's start-up sets where lines go, and what is to run after each of them.
void setSink(std::function<void(const String& message, Integer level)> write,
             std::function<void()> poll = {});

// The sink of programs that people start: standard error, with a prefix before each line.
void toStandardError(const String& prefix);

// A line at a moment when no command may run: nothing is polled after it.
void send(const String& message, Integer level);

} // namespace Log

namespace Globals {
// Levels: 1 broken packets, 2 ordinary lines, 4 detail and faults of the links.
void writelog(const String& message, Integer level);
} // namespace Globals

namespace HearthixSupport {
// At level 2.
void WriteLog(const String& message);
} // namespace HearthixSupport

} // namespace hearthix
