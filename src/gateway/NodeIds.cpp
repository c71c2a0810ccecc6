#include "gateway/NodeIds.hpp"

#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <bitset>

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

// The scan runs to its end, so the highest free ID wins, and as nobody uses 254 it usually is that one: hosts
// and nodes have always been told then that all is full.
Integer highestFreeId(const Array<Integer>& used, Integer fallback) {
    std::bitset<static_cast<std::size_t>(kHighestId) + 1> taken;
    for (const Integer id : used)
        if (id >= 0 && id <= kHighestId)
            taken.set(static_cast<std::size_t>(id));
    Integer free = fallback;
    for (Integer id = 1; id <= kHighestId; ++id) {
        if (!taken.test(static_cast<std::size_t>(id)))
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
