// What kbdb tells, as JSON for another program.
//
// Nothing is lost: a text is a string where it is UTF-8, and {"base64": "..."} where it is not. Values are a
// list in their order, [{"key": ..., "value": ...}, ...]. All is written in ASCII.
#pragma once

#include "document/CXML.hpp"
#include "tools/KbdbFile.hpp"

namespace hearthix {

// {"name": ..., "values": [...], "children": [...]}, the children in the same form, at any depth; the root's
// name is empty. Values stand as they are stored.
void reportTreeAsJson(const CXML& root);
// {"units": [{"address": ..., "node": ..., "values": [...]}, ...], "taken": [...], "free": [...], "next":
// ...}; next is null when the driver hands out no ID. Wrapped values are unwrapped.
void reportUnitsAsJson(const CXML& root);
void reportTextAsJson(const String& text);
// {"sound": ..., "bytes": ..., "documents": ..., "values": ..., "levels": ...}, and of a file that is not
// sound
// {"offset": ..., "reason": ..., "remedy": ...} as its "fault".
void reportCheckAsJson(const KbdbFile& file);

} // namespace hearthix
