// The output of kbdb as JSON.
//
// No byte is lost: a text is a string if it is UTF-8, and {"base64": "..."} otherwise. Values are a list in
// their order, [{"key": ..., "value": ...}, ...]. The output is ASCII.
#pragma once

#include "document/CXML.hpp"
#include "tools/KbdbFile.hpp"

namespace hearthix {

// {"name": ..., "values": [...], "children": [...]}, the children in the same form, at any depth; the root's
// name is empty. Values are printed as they are stored.
void reportTreeAsJson(const CXML& root);
// {"units": [{"address": ..., "node": ..., "values": [...]}, ...], "taken": [...], "free": [...], "next":
// ...}; next is null if the driver assigns no ID. Wrapped values are unwrapped.
void reportUnitsAsJson(const CXML& root);
void reportTextAsJson(const String& text);
// {"sound": ..., "bytes": ..., "documents": ..., "values": ..., "levels": ...}, and if it is
// not sound {"offset": ..., "reason": ..., "remedy": ...} as its "fault".
void reportCheckAsJson(const KbdbFile& file);

} // namespace hearthix
