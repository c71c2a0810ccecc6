// Paths of values in a document.
//
// A path consists of steps to a node and a key, separated by slashes. A step is the name of a child or the
// Address of a "unit" child, with a number if there are several:
//
//   Name               the root's value Name
//   unit[3]/Name       the value Name of the third child named "unit"
//   0A03.TEMP/Name     the value Name of the unit with this address
//
// A backslash removes the special meaning of the next character. Case is ignored.
#pragma once

#include "document/CXML.hpp"

#include <string>
#include <vector>

namespace hearthix {

struct KbdbPath {
    struct Step {
        std::string name;
        Integer index; // from 1; 0 when none is given
    };

    std::vector<Step> steps;
    String key;

    explicit KbdbPath(const std::string& text);
    // The node at the end of the steps. Fails if there is none, or more than one.
    Ref<CXML> nodeIn(const Ref<CXML>& root) const;
};

// The units of a node with this Address.
std::vector<Ref<CXML>> unitsAt(const CXML& node, const std::string& address);

} // namespace hearthix
