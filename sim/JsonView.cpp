#include "sim/JsonView.hpp"

#include "runtime/text/Numbers.hpp"
#include "sim/Output.hpp"

#include <array>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>

namespace hearthix::sim {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kLog = "log ";

Json objectOf(std::string_view kind) {
    const clocks::Nanoseconds now = clocks::wall();
    const std::time_t seconds = now / clocks::kSecond;
    std::tm parts{};
    std::array<char, 32> text{};
    gmtime_r(&seconds, &parts);
    static_cast<void>(std::strftime(text.data(), text.size(), "%FT%T.", &parts));
    const std::string milliseconds = std::to_string(1000 + now / clocks::kMillisecond % 1000);
    return {{"time", text.data() + milliseconds.substr(1) + "Z"}, {"kind", kind}};
}

Json textOf(const String& text) {
    return text.empty() ? Json() : Json(text.view());
}

Json objectOf(std::string_view kind, const HostUnit& unit) {
    Json object = objectOf(kind);
    object["address"] = unit.address.view();
    object["name"] = unit.name.view();
    object["value"] = textOf(unit.value);
    object["battery"] = unit.hasBattery ? Json(ValInteger(unit.battery)) : Json();
    return object;
}

void print(const Json& object) {
    putLine(object.dump(-1, ' ', true, Json::error_handler_t::replace));
}

} // namespace

void JsonView::note(const String& kind, const String& text) {
    const bool isLog = kind.view().starts_with(kLog);
    Json object = objectOf(isLog ? "log" : kind.view());
    if (isLog)
        object["level"] = ValInteger(kind.cut(kLog.size()));
    object["text"] = text.view();
    print(object);
}

void JsonView::unitChanged(const HostUnit& unit, HostModel::Change change) {
    if (change == HostModel::Change::created)
        print(objectOf("unit", unit));
    else if (change == HostModel::Change::kept)
        print(objectOf("kept", unit));
    else if (change == HostModel::Change::value)
        print(objectOf("value", unit));
    else if (change == HostModel::Change::battery)
        print(objectOf("battery", unit));
}

void JsonView::showUnits(const HostModel& model) {
    for (const Ref<HostUnit>& unit : model.units())
        print(objectOf("units", *unit));
}

} // namespace hearthix::sim
