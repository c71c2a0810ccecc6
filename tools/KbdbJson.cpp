#include "tools/KbdbJson.hpp"

#include "gateway/NodeIds.hpp"
#include "runtime/text/Base64.hpp"
#include "tools/KbdbReports.hpp"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace hearthix {

namespace {

using Json = nlohmann::ordered_json;

// In ASCII, so that it contains no control characters for a terminal.
std::string textOf(const Json& json) {
    return json.dump(-1, ' ', true);
}

Json jsonOf(const String& text) {
    Json json = std::string(text.view());
    try {
        textOf(json);
        return json;
    } catch (const Json::type_error&) {
        return {{"base64", std::string(EncodeBase64(text, 0).view())}};
    }
}

template <class ValueAt>
Json valuesOf(const CXML& node, const ValueAt& valueAt) {
    Json values = Json::array();
    for (Integer i = 0; i < node.GetKeyCount(); ++i)
        values.push_back({{"key", jsonOf(node.Values->Key(i).asString())}, {"value", jsonOf(valueAt(i))}});
    return values;
}

Json idsIn(const NodeIdSet& ids) {
    Json list = Json::array();
    for (std::size_t id = 0; id < ids.size(); ++id)
        if (ids.test(id))
            list.push_back(id);
    return list;
}

Json unitOf(const CXML& unit) {
    const auto unwrapped = [&](Integer i) { return unit.GetStringValue(unit.GetKeyByIndex(i)); };
    return {{"address", unit.ObjectExists("Address") ? jsonOf(unit.GetStringValue("Address")) : Json()},
            {"node", nodeOf(unit)},
            {"values", valuesOf(unit, unwrapped)}};
}

} // namespace

// One node at a time: the library walks its own trees by recursion, and a deep one would exhaust the stack.
void reportTreeAsJson(const CXML& root) {
    const auto enter = [](const CXML& node, std::size_t, bool first) {
        const auto stored = [&](Integer i) { return node.Values->ValueAt(i).asString(); };
        std::string text = textOf(
            {{"name", jsonOf(node.Name)}, {"values", valuesOf(node, stored)}, {"children", Json::array()}});
        text.resize(text.size() - 2); // without the end of the list of children
        KbdbOutput::raw((first ? "" : ",\n") + text);
    };
    walkTree(root, enter, [] { KbdbOutput::raw("]}"); });
    KbdbOutput::line("");
}

void reportUnitsAsJson(const CXML& root) {
    Json list = Json::array();
    for (const auto& unit : root.containersNamed("unit"))
        list.push_back(unitOf(*unit));
    const auto taken = takenIds(root);
    const Integer next = mySensors::chooseNodeId(root);
    KbdbOutput::line(textOf({{"units", std::move(list)},
                             {"taken", idsIn(taken)},
                             {"free", idsIn(freeIds(taken))},
                             {"next", next == mySensors::kNoIdLeft ? Json() : Json(next)}}));
}

void reportTextAsJson(const String& text) {
    KbdbOutput::line(textOf(jsonOf(text)));
}

void reportCheckAsJson(const KbdbFile& file) {
    Json json{{"sound", !file.fault},
              {"bytes", file.bytes.size()},
              {"documents", file.census.documents},
              {"values", file.census.values},
              {"levels", file.census.deepest}};
    if (file.fault)
        json["fault"] = {
            {"offset", file.fault->offset}, {"reason", file.fault->reason}, {"remedy", file.fault->remedy}};
    KbdbOutput::line(textOf(json));
}

} // namespace hearthix
