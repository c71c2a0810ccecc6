// Node IDs. Which ones are taken is read from the host's units: every sensor that ever sent a value has one,
// and a unit's address begins with its node's ID.
#include "gateway/cMySensors.hpp"
#include "log/Globals.hpp"
#include "log/Log.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <bitset>

namespace hearthix {

namespace {

constexpr Integer kHighestPlainId = 253;
constexpr Integer kLastId = 254;

Array<Integer> usedIds(const CXML& units) {
    Array<Integer> ids;
    for (const auto& unit : units.containersNamed("unit")) {
        ids.Append(ValInteger(concat("&h", Left(unit->GetStringValue("Address"), 2))));
        RuntimeBackgroundTask();
    }
    ids.Sort();
    return ids;
}

// The scan runs to its end, so the highest free ID wins and 254 counts as free last of all. 254 itself tells
// the caller that all is full; that is what hosts and nodes have always seen.
Integer highestFreeId(const Array<Integer>& used, Integer fallback) {
    std::bitset<static_cast<std::size_t>(kLastId) + 1> taken;
    for (const Integer id : used)
        if (id >= 0 && id <= kLastId)
            taken.set(static_cast<std::size_t>(id));
    Integer free = fallback;
    for (Integer id = 1; id <= kLastId; ++id) {
        if (!taken.test(static_cast<std::size_t>(id)))
            free = id;
        RuntimeBackgroundTask();
    }
    return free;
}

Integer chooseId(const CXML& units) {
    const Array<Integer> used = usedIds(units);
    if (used.Ubound() < 0)
        return 1;
    const Integer next = used[used.Ubound()] + 1;
    return next > kHighestPlainId ? highestFreeId(used, next) : next;
}

} // namespace

void cMySensors::gotUnitsFromHearthix(const Ref<cHearthixCommand>& command) {
    // Held here: another list may arrive in a log line below.
    const auto units = Ref<CXML>::make();
    unitXMLFromHearthix = units;
    try {
        units->loadFromString(command->GetMulti("DATA"));
    } catch (const RuntimeException&) {
        HearthixSupport::WriteLog("Hearthix sent no valid data in response to asking for units");
    }
    if (waitingForID.isNil())
        return;
    const Integer id = chooseId(*units);
    if (id == kLastId) {
        HearthixSupport::WriteLog("node requests new ID but all slots are full.");
        return;
    }
    const String reply =
        concat(Str(waitingForID->nodeID), ";", Str(waitingForID->childID), ";3;0;4;", Str(id));
    if (Globals::DebugMode)
        HearthixSupport::WriteLog(concat("set ID packet: ", reply));
    HearthixSupport::WriteLog(concat("responding to node ID request with ID: ", Str(id)));
    waitingForID = nullptr;
    Globals::gAbstractedPort->PortSendData(reply + "\n");
}

} // namespace hearthix
