// Replies to requests of the mesh: time and configuration; and the version request of the watchdog.
#include "gateway/cMySensors.hpp"
#include "runtime/text/Numbers.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

namespace {

void sendLine(const String& line) {
    Globals::gAbstractedPort->PortSendData(line + "\n");
}

} // namespace

std::uint32_t cMySensors::getMySensorDate(const std::optional<Date>& when) const {
    Date epoch;
    epoch.setYear(1970);
    epoch.setMonth(1);
    epoch.setDay(1);
    epoch.setHour(0);
    epoch.setMinute(0);
    epoch.setSecond(0);
    const double seconds = when.value_or(Date()).TotalSeconds() - epoch.TotalSeconds();
    return static_cast<std::uint32_t>(toInteger(seconds) & 0xFFFFFFFF);
}

void cMySensors::sendTimeToNode(Integer node) {
    const double seconds = getMySensorDate(std::nullopt);
    sendLine(concat(Str(node), ";255;3;0;1;", Format(seconds, "#")));
}

void cMySensors::sendConfigToNode(Integer node, Integer child, const String& value) {
    const String line = concat(Str(node), ";", Str(child), ";3;0;6;", value);
    HearthixSupport::WriteLog(concat("sending config to node: ", line));
    sendLine(line);
}

void cMySensors::requestVersion() {
    sendLine("0;0;3;0;2;");
    if (Globals::DebugMode)
        HearthixSupport::WriteLog("requesting version as ping");
}

} // namespace hearthix
