// Standard output as kbdb uses it, and how text from a document gets there.
//
// What can't be written is lost without a signal or an exception; the caller asks for that at the end.
#pragma once

#include <string>
#include <string_view>

namespace hearthix {

namespace KbdbOutput {

// Looks at standard output before anything is printed, and before something else takes its place.
void begin();
// A line of text; the line end is added.
void line(const std::string& text);
// Bytes as they stand.
void raw(std::string_view bytes);
// True once something was lost; whatever follows is as well.
bool isLost();
// Writes what is still held back. 0, or the system's error number of the first loss.
int finish();
// Whether a person looks on.
bool isTerminal();

} // namespace KbdbOutput

// A text of unknown origin, fit for a terminal and on one line: a backslash is doubled, and control
// characters, marks that turn the direction of the text around, and bytes that are no UTF-8 stand as \xNN.
std::string printable(std::string_view text);

} // namespace hearthix
