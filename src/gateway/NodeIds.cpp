#include "gateway/NodeIds.hpp"

#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix::mySensors {

namespace {

constexpr Integer kHighestPlainId = 253;
constexpr Integer kHighestId = 254;

Array<Integer> usedIds(const CXML& units) {
    Array<Integer> ids;
    for (const auto& unit : units.containersNamed("unit")) {
        ids.Append(ValInteger(concat("&h", Left(unit->GetStringValue("Address"), 2))));
        RuntimeBackgroundTask();
    }
    ids.Sort();
    return ids;
}

// The scan does not stop at the first free ID, so the highest one wins. That is usually 254, which means that
// no ID is left. Hosts and nodes rely on this.
Integer highestFreeId(const Array<Integer>& used, Integer fallback) {
    Integer free = fallback;
    for (Integer id = 1; id <= kHighestId; ++id) {
        if (used.IndexOf(id) < 0)
            free = id;
        RuntimeBackgroundTask();
    }
    return free;
}

} // namespace

Integer chooseNodeId(const CXML& units) {
    const Array<Integer> used = usedIds(units);
    if (used.Ubound() < 0)
        return 1;
    const Integer next = used[used.Ubound()] + 1;
    return next > kHighestPlainId ? highestFreeId(used, next) : next;
}

} // namespace hearthix::mySensors
