// Paths: how a person names a value anywhere in a document.
//
// A path is a key with any number of steps to its node ahead of it, with slashes between them. A step is the
// name of a child or the Address of a "unit" child, and says which one if there are several:
//
//   Name               the root's value Name
//   unit[3]/Name       that of the third child named "unit"
//   0A03.TEMP/Name     that of the unit with this address
//
// A backslash takes the special meaning from the character after it. Case is ignored.
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
    // The node that the steps lead to. Fails when there is none, or more than one.
    Ref<CXML> nodeIn(const Ref<CXML>& root) const;
};

// The units of a node whose Address this is.
std::vector<Ref<CXML>> unitsAt(const CXML& node, const std::string& address);

} // namespace hearthix
