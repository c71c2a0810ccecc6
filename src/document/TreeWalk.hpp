// Walks over the nodes below a document. It uses an explicit stack, because no operation on a document may
// recurse.
#pragma once

#include "document/CXML.hpp"
#include "runtime/process/ConsoleApplication.hpp"

#include <vector>

namespace hearthix {

// Visits the elements of Containers, depth first and in order. enter(child, index) returns whether to visit
// the elements of the child as well; leave() runs after the last element of each node, the root included.
template <class Enter, class Leave>
void walkTree(const CXML& root, const Enter& enter, const Leave& leave) {
    struct Level {
        const CXML* node;
        std::int64_t next;
    };
    std::vector<Level> open{{&root, 0}};
    while (!open.empty()) {
        auto& [node, next] = open.back();
        if (next > node->Containers.Ubound()) {
            leave();
            open.pop_back();
            continue;
        }
        const std::int64_t index = next++;
        const Ref<CXML>& child = node->Containers[index];
        if (enter(child, index))
            open.push_back({child.get(), 0});
        RuntimeBackgroundTask();
    }
}

} // namespace hearthix
