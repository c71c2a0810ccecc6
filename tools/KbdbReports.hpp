// What kbdb tells about a document, as plain text for a person.
//
// Bytes that a terminal could take for commands are shown as \xNN. The size of a text grows with the document
// and never with its square: neither deep nesting nor one long value widens the lines of all the others.
#pragma once

#include "document/CXML.hpp"

#include <string>

namespace hearthix {

// Standard output. What can't be written is lost without a signal; the rest is up to the caller.
namespace KbdbOutput {
// A line of text; the line end is added.
void line(const std::string& text);
// Writes what is still held back. 0, or the system's error number of the first loss.
int finish();
} // namespace KbdbOutput

// Every value and child of a tree: the text of CXML::saveToReadableString, but indented no deeper than
// kDeepestIndent levels; what stands below tells its level instead.
void reportTree(const CXML& root);
inline constexpr std::size_t kDeepestIndent = 16;

// The "unit" containers at the root, one a line, and which node IDs from 1 to 254 their addresses take.
void reportUnits(const CXML& root);

} // namespace hearthix
