#include "tools/KbdbPath.hpp"

#include "tools/KbdbFile.hpp"

#include <algorithm>
#include <charconv>

namespace hearthix {

namespace {

// Removes the number in brackets from the end of a name, if one begins at the bracket.
KbdbPath::Step stepFrom(const std::string& name, std::size_t bracket) {
    const char* const end = name.data() + name.size();
    Integer index = 0;
    if (bracket == std::string::npos ||
        std::from_chars(name.data() + bracket + 1, end, index).ptr != end - 1 || end[-1] != ']' || index < 1)
        return {name, 0};
    return {name.substr(0, bracket), index};
}

Ref<CXML> childOf(const CXML& node, const KbdbPath::Step& step) {
    std::vector<Ref<CXML>> found = node.containersNamed(String(step.name, TextEncoding::utf8));
    if (found.empty())
        found = unitsAt(node, step.name);
    const auto count = static_cast<Integer>(found.size());
    if (count == 0)
        throw KbdbFailure("No child has the name, and no unit the address, \"" + step.name +
                          "\". \"kbdb show\" lists them; case is ignored.");
    if (step.index == 0 ? count > 1 : step.index > count)
        throw KbdbFailure("\"" + step.name + "\" matches " + std::to_string(count) +
                          ". Add a number behind it, from [1] on.");
    return found[static_cast<std::size_t>(std::max<Integer>(step.index, 1) - 1)];
}

} // namespace

KbdbPath::KbdbPath(const std::string& text) {
    std::string name;
    std::size_t bracket = std::string::npos; // the last one without a backslash
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '/') {
            steps.push_back(stepFrom(name, bracket));
            name.clear();
            bracket = std::string::npos;
            continue;
        }
        if (text[i] == '[')
            bracket = name.size();
        if (text[i] == '\\' && i + 1 < text.size())
            ++i;
        name += text[i];
    }
    key = String(name, TextEncoding::utf8);
}

Ref<CXML> KbdbPath::nodeIn(const Ref<CXML>& root) const {
    Ref<CXML> node = root;
    for (const Step& step : steps)
        node = childOf(*node, step);
    return node;
}

std::vector<Ref<CXML>> unitsAt(const CXML& node, const std::string& address) {
    std::vector<Ref<CXML>> found = node.containersNamed("unit");
    std::erase_if(found, [&](const Ref<CXML>& unit) {
        return !unit->ObjectExists("Address") ||
               unit->GetStringValue("Address") != String(address, TextEncoding::utf8);
    });
    return found;
}

} // namespace hearthix
