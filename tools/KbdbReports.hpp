// The reports of kbdb about a document, as plain text for a person.
//
// The size of a report is linear in the size of the document: neither deep nesting nor one long value widens
// the other lines.
#pragma once

#include "document/CXML.hpp"
#include "tools/KbdbOutput.hpp"

#include <bitset>
#include <cstdint>
#include <vector>

namespace hearthix {

// Every value and child of a tree: the text of CXML::saveToReadableString, but indented no deeper than
// kDeepestIndent levels; deeper lines show the number of their level instead.
void reportTree(const CXML& root);
inline constexpr std::size_t kDeepestIndent = 16;

// One unit a line, then the node IDs in use, the free ones, and the ID that the driver assigns next.
void reportUnits(const CXML& root);

// The node of a unit, as the driver reads it: an address that does not begin with a number counts as node 0,
// the gateway.
Integer nodeOf(const CXML& unit);
// Node IDs, from 1 to 255, the highest number that an address can begin with.
using NodeIdSet = std::bitset<256>;
// The node IDs of the units at the root.
NodeIdSet takenIds(const CXML& root);
// The IDs from 1 to 254 that are not in use. A node cannot have the ID 255.
NodeIdSet freeIds(const NodeIdSet& taken);

// Walks over a tree of any depth, each node before its children: calls enter(node, level, first), where the
// root's level is 0 and first is true for the first child of its parent, and leave(). Ends early when the
// output is lost.
template <class Enter, class Leave>
void walkTree(const CXML& root, const Enter& enter, const Leave& leave) {
    struct Frame {
        const CXML* node;
        std::int64_t next;
    };
    enter(root, std::size_t{0}, true);
    std::vector<Frame> open{{&root, 1}};
    while (!open.empty() && !KbdbOutput::isLost()) {
        Frame& frame = open.back();
        if (frame.next > frame.node->Containers.Ubound()) {
            leave();
            open.pop_back();
            continue;
        }
        const bool first = frame.next == 1;
        const CXML& child = *frame.node->Containers[frame.next++];
        enter(child, open.size(), first);
        open.push_back({&child, 1});
    }
}

} // namespace hearthix
