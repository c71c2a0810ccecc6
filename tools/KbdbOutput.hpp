// Standard output of kbdb, and printing of text from documents.
//
// Output that cannot be written is discarded; the caller checks for that at the end.
#pragma once

#include <string>
#include <string_view>

namespace hearthix {

namespace KbdbOutput {

// Checks standard output before the process opens other files, which could get its descriptor.
void begin();
// A line of text; the line end is added.
void line(const std::string& text);
// Bytes without a change.
void raw(std::string_view bytes);
// Whether output was lost; later output is discarded then.
bool isLost();
// Writes what is buffered. Returns 0, or the error number of the first loss.
int finish();
// Whether standard output is a terminal.
bool isTerminal();

} // namespace KbdbOutput

// Makes any text fit for one line of a terminal: doubles backslashes, and prints control characters, marks
// that change the direction of text, and bytes that are not UTF-8 as \xNN.
std::string printable(std::string_view text);

} // namespace hearthix
