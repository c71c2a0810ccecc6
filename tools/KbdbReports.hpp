// The output of kbdb as plain text.
//
// Its size is linear in the size of the document: neither deep nesting nor one long value widens all other
// lines.
#pragma once

#include "document/CXML.hpp"
#include "tools/KbdbOutput.hpp"

#include <bitset>
#include <cstdint>
#include <vector>

namespace hearthix {

// Every value and child of a tree: the text of CXML::saveToReadableString, but indented no deeper than
// kDeepestIndent levels; deeper lines begin with their level instead.
void reportTree(const CXML& root);
inline constexpr std::size_t kDeepestIndent = 16;
inline constexpr std::size_t kLastNodeId = 254;

// One unit per line, the node IDs that are taken, and the ID that the driver assigns next.
void reportUnits(const CXML& root);

// The node of a unit, as the driver reads it: an address without a number at the start means node 0.
Integer nodeOf(const CXML& unit);
// The node IDs in the addresses of the units at the root.
std::bitset<kLastNodeId + 1> takenIds(const CXML& root);

// Visits a tree of any depth, each node before its children: enter(node, level, first), where the root's
// level is 0 and first is true for the first child, and leave(). Ends early when output is lost.
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
