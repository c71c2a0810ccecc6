// What a document of units takes at the least: structs that know just this tree, two levels deep with six
// values a unit, and a reader and a writer of its byte form. They keep what the file holds, keys included,
// and check lengths; nothing else is general about them.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace hearthix::bench {

struct PlainDocument {
    struct Value {
        std::string key;
        std::string text;
    };
    using Unit = std::array<Value, 6>;

    std::vector<Unit> units;

    std::string save() const;
    // False when the text is no such document.
    bool load(std::string_view text);
};

} // namespace hearthix::bench
