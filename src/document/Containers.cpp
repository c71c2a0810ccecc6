// The children of a node.
#include "document/CXML.hpp"
#include "document/EncodingRules.hpp"
#include "runtime/process/ConsoleApplication.hpp"

namespace hearthix {

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
    const String wanted = keyForReading(name);
    Integer count = 0;
    for (std::int64_t i = 1; i <= Containers.Ubound(); ++i) {
        count += Containers[i]->Name == wanted ? 1 : 0;
        RuntimeBackgroundTask();
    }
    return count;
}

Ref<CXML> CXML::GetContainer(const String& name, Integer index) const {
    const String wanted = keyForReading(name);
    Integer count = 0;
    for (std::int64_t i = 1; i <= Containers.Ubound(); ++i) {
        count += Containers[i]->Name == wanted ? 1 : 0;
        // Tested behind every child and not only behind a matching one; callers know what index 0 yields.
        if (count == index)
            return Containers[i];
        RuntimeBackgroundTask();
    }
    return nullptr;
}

// The element of Containers that is number index, from 1, of its name; 0 when there is none.
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
