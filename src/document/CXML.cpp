// The tree of nodes: children by name and position, and the operations on whole trees.
#include "document/CXML.hpp"

#include "document/EncodingRules.hpp"
#include "document/TreeWalk.hpp"
#include "runtime/process/ConsoleApplication.hpp"

#include <utility>

namespace hearthix {

namespace {

// Moves the children of a node to a list.
void takeChildren(CXML& node, std::vector<Ref<CXML>>& list) {
    for (std::int64_t i = 0; i <= node.Containers.Ubound(); ++i) {
        if (node.Containers[i])
            list.push_back(std::exchange(node.Containers[i], nullptr));
        RuntimeBackgroundTask();
    }
}

Ref<CXML> copyWithoutChildren(const CXML& source) {
    auto copy = Ref<CXML>::make();
    copy->Name = source.Name;
    copy->ValueBuffer.Resize(source.ValueBuffer.Ubound());
    for (std::int64_t i = 1; i <= source.ValueBuffer.Ubound(); ++i)
        copy->ValueBuffer[i] = source.ValueBuffer[i];
    copy->Values = Ref<Dictionary>::make(source.Values->entries().size());
    for (const auto& entry : source.Values->entries()) {
        copy->Values->SetValue(entry.key, entry.value);
        RuntimeBackgroundTask();
    }
    return copy;
}

} // namespace

CXML::CXML() : Values(Ref<Dictionary>::make()) {
}

// Destroys the tree in a loop, because a destructor per level would exhaust the stack. Nodes with other
// owners keep their children.
CXML::~CXML() {
    std::vector<Ref<CXML>> orphans;
    takeChildren(*this, orphans);
    while (!orphans.empty()) {
        const Ref<CXML> node = std::move(orphans.back());
        orphans.pop_back();
        if (node->referenceCount() == 1)
            takeChildren(*node, orphans);
    }
}

void CXML::Release() {
    std::vector<Ref<CXML>> released;
    takeChildren(*this, released);
    while (!released.empty()) {
        const Ref<CXML> node = std::move(released.back());
        released.pop_back();
        takeChildren(*node, released);
    }
}

Ref<CXML> CXML::Clone() const {
    auto root = copyWithoutChildren(*this);
    std::vector<Ref<CXML>> open{root};
    const auto enter = [&](const Ref<CXML>& child, std::int64_t index) {
        if (index == 0)
            return false;
        open.push_back(copyWithoutChildren(*child));
        open[open.size() - 2]->Containers.Append(open.back());
        return true;
    };
    walkTree(*this, enter, [&] { open.pop_back(); });
    return root;
}

void CXML::InsertContainer(const Ref<CXML>& child) {
    if (child)
        Containers.Append(child);
}

std::vector<Ref<CXML>> CXML::containersNamed(const String& name) const {
    const String wanted = keyForReading(name);
    std::vector<Ref<CXML>> found;
    for (std::int64_t i = 1; i <= Containers.Ubound(); ++i) {
        if (Containers[i]->Name == wanted)
            found.push_back(Containers[i]);
        RuntimeBackgroundTask();
    }
    return found;
}

Integer CXML::GetContainerCount(const String& name) const {
    return static_cast<Integer>(containersNamed(name).size());
}

Ref<CXML> CXML::GetContainer(const String& name, Integer index) const {
    const String wanted = keyForReading(name);
    // Callers expect this result for index 0.
    if (index == 0 && Containers.Ubound() > 0 && Containers[1]->Name != wanted)
        return Containers[1];
    const std::int64_t place = placeOf(wanted, index);
    return place > 0 ? Containers[place] : nullptr;
}

// Returns the index in Containers of a child by name and position, or 0.
std::int64_t CXML::placeOf(const String& name, Integer index) const {
    Integer count = 0;
    for (std::int64_t i = 1; i <= Containers.Ubound(); ++i) {
        if (Containers[i]->Name == name && ++count == index)
            return i;
        RuntimeBackgroundTask();
    }
    return 0;
}

void CXML::ReplaceContainer(const String& name, Integer index, const Ref<CXML>& replacement) {
    if (const std::int64_t place = placeOf(name, index); place > 0)
        Containers[place] = replacement;
}

void CXML::removeContainer(const String& name, Integer index) {
    if (const std::int64_t place = placeOf(keyForReading(name), index); place > 0)
        Containers.Remove(place);
}

void CXML::removeContainer(const Ref<CXML>& child) {
    for (std::int64_t i = 1; i <= Containers.Ubound(); ++i) {
        if (Containers[i] == child) {
            Containers.Remove(i);
            return;
        }
        RuntimeBackgroundTask();
    }
}

} // namespace hearthix
