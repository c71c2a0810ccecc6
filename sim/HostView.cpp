#include "sim/HostView.hpp"

#include "runtime/text/StringFunctions.hpp"
#include "sim/Output.hpp"
#include "sim/Text.hpp"

namespace hearthix::sim {

namespace {

constexpr std::size_t kKindColumns = 8;

void printLine(std::string_view kind, std::string_view text) {
    std::string line(clockText(true).view());
    line.append(" ").append(padded(kind, kKindColumns)).append(" ").append(printable(text));
    putLine(line);
}

String withBattery(const HostUnit& unit) {
    return unit.battery.empty() ? String() : concat(" battery ", unit.battery);
}

} // namespace

void PlainView::note(const String& kind, const String& text) {
    printLine(kind, text);
}

void PlainView::unitChanged(const HostUnit& unit, HostModel::Change change) {
    if (change == HostModel::Change::created)
        printLine("unit", concat(unit.address, " created, named ", unit.name));
    else if (change == HostModel::Change::kept)
        printLine("unit", concat(unit.address, " kept"));
    else if (change == HostModel::Change::value)
        printLine("value", concat(unit.address, " ", unit.value, withBattery(unit)));
    else if (change == HostModel::Change::battery)
        printLine("battery", concat(unit.address, " ", unit.battery));
}

void PlainView::showUnits(const HostModel& model) {
    for (const Ref<HostUnit>& unit : model.units()) {
        const String value = unit->value.empty() ? String("-") : unit->value;
        printLine("units", concat(unit->address, " ", value, withBattery(*unit), " ", unit->name));
    }
    if (model.units().empty())
        printLine("units", "none yet");
}

void PlainView::showHelp(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        note("help", String(std::string_view(line)));
}

void PlainView::typed(std::string_view bytes) {
    partial_.append(bytes);
    while (const Integer end = InStrB(1, partial_, "\n")) {
        const String line = Trim(LeftB(partial_, end - 1));
        partial_ = MidB(partial_, end + 1);
        entered_(line);
    }
}

} // namespace hearthix::sim
