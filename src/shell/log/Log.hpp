// The log. Every line goes to a sink; the driver's sink is the host socket.
//
// writelog and WriteLog poll the sink after the line, so a command of the host may run before they return.
// Their callers must not keep anything across the call that such a command can change. A line without a sink
// raises NilObjectException.
#pragma once

#include "runtime/text/String.hpp"

#include <functional>

namespace hearthix {

namespace Log {

// The host receives at most this number of bytes of a level and its text, so no caller needs to format more.
constexpr Integer kLongestBody = 250;

// Sets the receiver of lines, and what runs after each line of writelog.
void setSink(std::function<void(const String& message, Integer level)> write,
             std::function<void()> poll = {});

// Sends lines to standard error, each after a prefix. For programs that people start.
void toStandardError(const String& prefix);

// Sends a line without polling, for moments when no command may run.
void send(const String& message, Integer level);

} // namespace Log

namespace Globals {
// Levels: 1 broken packets, 2 ordinary lines, 4 details and link failures.
void writelog(const String& message, Integer level);
} // namespace Globals

namespace HearthixSupport {
// Writes at level 2.
void WriteLog(const String& message);
} // namespace HearthixSupport

} // namespace hearthix
