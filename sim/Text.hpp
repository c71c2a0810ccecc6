// Text for a terminal: what came over a wire may hold anything.
#pragma once

#include "runtime/text/String.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace hearthix::sim {

// The text with a question mark for every character that isn't shown, such as one that moves the cursor, and
// for every byte that belongs to no UTF-8 character.
std::string printable(std::string_view text);
// How many bytes of the text fit into a line of so many columns, which are at least two: cut after a blank
// where there is one.
std::size_t lineOf(std::string_view text, int columns);

// Words of our own, in ASCII, filled with blanks to so many columns.
std::string padded(std::string_view text, std::size_t columns);
std::string paddedLeft(std::string_view text, std::size_t columns);

// The words of a line; one in double quotes may hold blanks.
std::vector<String> wordsOf(std::string_view line);

// How a program has ended, behind "has ended": "with status 1", or "by signal 9 (Killed)" for 128 and a
// signal's number.
String endingText(int status);

// The local time of day, "09:05:02", or with milliseconds, "09:05:02.117".
String clockText(bool withMilliseconds);
// A duration for a narrow column: "7s", "12m", "3h", "2d".
String ageText(Integer seconds);

} // namespace hearthix::sim
