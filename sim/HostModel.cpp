#include "sim/HostModel.hpp"

#include "runtime/text/StringFunctions.hpp"

#include <charconv>
#include <cmath>

namespace hearthix::sim {

namespace {

constexpr std::size_t kMostAnswer = 65'000;

// The driver's default name of a unit is "(0A00) TEMP"; a node in its log is "node (0A) ...".
constexpr std::string_view kDefaultName = "(";
constexpr std::string_view kNodeMark = "node (";
constexpr std::string_view kNameMark = ") sketch name: ";
constexpr std::size_t kNodeDigits = 2;

void remember(HostUnit& unit) {
    const std::optional<double> number = numberIn(unit.value);
    if (!number)
        return;
    if (unit.recent.size() == HostModel::kRecentValues)
        unit.recent.erase(unit.recent.begin());
    unit.recent.push_back(*number);
}

void takeBattery(HostUnit& unit, const String& level) {
    unit.battery = level;
    unit.hasBattery = unit.hasBattery || (!level.empty() && level != "0");
}

// Handles the words for a value; false for any other.
bool takeValue(HostUnit& unit, const cHearthixCommand& command, const String& word) {
    if (word == "SetValue")
        unit.value = command.GetMulti("Valu");
    else if (word == "SetDesc")
        unit.value = command.GetMulti("DATA");
    else if (word == "ON" || word == "OFF")
        unit.value = word;
    else
        return false;
    remember(unit);
    return true;
}

Ref<CXML> containerOf(const HostUnit& unit) {
    auto container = Ref<CXML>::make();
    container->Name = "unit";
    container->SetStringValue("Address", unit.address);
    container->SetStringValue("Name", unit.name);
    container->SetStringValue("Value", unit.value);
    container->SetStringValue("Battery", unit.battery);
    container->SetStringValue("List", unit.list);
    container->SetBooleanValue("Dimmable", unit.dimmable);
    container->SetBooleanValue("ReadOnly", unit.readOnly);
    return container;
}

} // namespace

std::optional<double> numberIn(std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && std::isfinite(number) ? std::optional<double>(number) : std::nullopt;
}

Ref<HostUnit> HostModel::find(const String& address) const {
    const Variant* entry = index_.find(address);
    return entry != nullptr ? Ref<HostUnit>(entry->objectAs<HostUnit>()) : nullptr;
}

Ref<HostUnit> HostModel::add(const String& address) {
    auto unit = Ref<HostUnit>::make();
    unit->address = address;
    units_.push_back(unit);
    index_.SetValue(address, unit);
    return unit;
}

void HostModel::hearLog(const String& line) {
    const std::size_t atMark = kNodeMark.size() + kNodeDigits;
    if (line.view().starts_with(kNodeMark) && line.cut(atMark).view().starts_with(kNameMark))
        nodeNames_.SetValue(line.cut(kNodeMark.size(), kNodeDigits), line.cut(atMark + kNameMark.size()));
}

String HostModel::nameOf(const HostUnit& unit) const {
    const bool isDefault = unit.name.empty() || unit.name.view().starts_with(kDefaultName);
    const Variant* name = isDefault ? nodeNames_.find(unit.address.cut(0, kNodeDigits)) : nullptr;
    return name != nullptr ? name->asString() : unit.name;
}

HostModel::Change HostModel::apply(const cHearthixCommand& command) {
    if (command.MultiDict.isNil() || !command.hasKey("addr"))
        return Change::none;
    const String word = command.GetMulti("mcmd");
    const String address = command.GetMulti("addr");
    Ref<HostUnit> unit = find(address);
    if (word == "NewU") {
        if (unit)
            return Change::kept;
        unit = add(address);
        unit->name = command.GetMulti("Name");
        unit->list = command.GetMulti("List");
        unit->dimmable = command.GetMulti("Dimm") == "true";
        unit->readOnly = command.GetMulti("RdNL") == "true";
        unit->changedAt = clocks::monotonic();
        return Change::created;
    }
    if (unit.isNil())
        return Change::unknown;
    const bool hasBattery = command.hasKey("Batt");
    if (hasBattery)
        takeBattery(*unit, command.GetMulti("Batt"));
    const bool hasValue = takeValue(*unit, command, word);
    if (hasValue || hasBattery)
        unit->changedAt = clocks::monotonic();
    return hasValue ? Change::value : hasBattery ? Change::battery : Change::none;
}

Ref<CXML> HostModel::document() const {
    auto root = Ref<CXML>::make();
    for (const Ref<HostUnit>& unit : units_)
        root->InsertContainer(containerOf(*unit));
    return root;
}

void HostModel::load(const CXML& document) {
    for (const Ref<CXML>& container : document.containersNamed("unit")) {
        const String address = container->GetStringValue("Address");
        if (address.empty() || find(address))
            continue;
        const Ref<HostUnit> unit = add(address);
        unit->name = container->GetStringValue("Name");
        unit->value = container->GetStringValue("Value");
        takeBattery(*unit, container->GetStringValue("Battery"));
        unit->list = container->GetStringValue("List");
        unit->dimmable = container->GetBooleanValue("Dimmable");
        unit->readOnly = container->GetBooleanValue("ReadOnly");
    }
}

String HostModel::answerForDriver() const {
    String whole = document()->SaveToString();
    if (whole.size() <= kMostAnswer)
        return whole;
    const auto root = Ref<CXML>::make();
    Dictionary nodes;
    for (const Ref<HostUnit>& unit : units_) {
        const String node = LeftB(unit->address, 2);
        if (nodes.HasKey(node))
            continue;
        nodes.SetValue(node, true);
        const auto container = Ref<CXML>::make();
        container->Name = "unit";
        container->SetStringValue("Address", unit->address);
        root->InsertContainer(container);
    }
    return root->SaveToString();
}

} // namespace hearthix::sim
