// Text for a terminal. Text from the wire can contain any bytes.
#pragma once

#include "runtime/text/String.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace hearthix::sim {

// Replaces characters that are not shown, such as those that move the cursor, and bytes that are not UTF-8 by
// question marks.
std::string printable(std::string_view text);
// How many bytes of the text fit into a line of at least two columns. The line ends after a blank if there is
// one.
std::size_t lineOf(std::string_view text, int columns);

// An ASCII text, filled with blanks up to a number of columns.
std::string padded(std::string_view text, std::size_t columns);
std::string paddedLeft(std::string_view text, std::size_t columns);

// The words of a line; a word in double quotes can contain blanks.
std::vector<String> wordsOf(std::string_view line);

// How a program has ended, for a sentence with "has ended": "with status 1", or "by signal 9 (Killed)" for
// 128 and a signal's number.
String endingText(int status);

// The local time of day, "09:05:02", or with milliseconds, "09:05:02.117".
String clockText(bool withMilliseconds);
// A duration for a narrow column: "7s", "12m", "3h", "2d".
String ageText(Integer seconds);

} // namespace hearthix::sim
