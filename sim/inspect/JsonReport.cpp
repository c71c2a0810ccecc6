#include "mysensors/Vocabulary.hpp"
#include "sim/inspect/Names.hpp"
#include "sim/inspect/Report.hpp"
#include "sim/Mesh.hpp"

#include <nlohmann/json.hpp>

namespace hearthix::sim {

namespace {

using Json = nlohmann::ordered_json;

Json numberOrNull(Integer number, Integer none) {
    return number == none ? Json() : Json(number);
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

template <class Value>
Json valueOrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

Json variableJson(Integer node, Integer child, Integer type, const Variable& variable) {
    const bool hasValue = variable.values > 0;
    return {{"address", unitAddress(node, child, type).view()},
            {"type", type},
            {"values", variable.values},
            {"first", hasValue ? Json(variable.first) : Json()},
            {"last", hasValue ? Json(variable.last) : Json()},
            {"min", valueOrNull(variable.lowest)},
            {"max", valueOrNull(variable.highest)},
            {"commands", variable.commands},
            {"echoed", variable.echoes},
            {"answered", variable.answers}};
}

Json childJson(Integer node, Integer number, const Child& child) {
    Json variables = Json::array();
    for (const auto& [type, variable] : child.variables)
        variables.push_back(variableJson(node, number, type, variable));
    const std::string type = child.types.text();
    return {{"child", number},
            {"address", addressOf(node, number)},
            {"presentations", child.presentations},
            {"presented", type.empty() ? Json() : Json(presentedName(type))},
            {"description", textOrNull(child.description)},
            {"variables", std::move(variables)}};
}

Json nodeJson(Integer id, const Node& node) {
    Json children = Json::array();
    for (const auto& [number, child] : node.children)
        children.push_back(childJson(id, number, child));
    return {{"node", id},
            {"sketch", textOrNull(node.sketch.text())},
            {"version", textOrNull(node.version.text())},
            {"library", textOrNull(node.library.text())},
            {"battery", valueOrNull(node.battery)},
            {"messages", node.messages},
            {"presentations", node.presentations},
            {"lastLine", node.lastLine},
            {"lastHeard", numberOrNull(node.lastAt, -1)},
            {"sent", node.sent},
            {"failed", node.failed},
            {"lostParents", node.lostParents},
            {"children", std::move(children)}};
}

Json objectOf(const Finding& finding) {
    return {{"kind", finding.kind->name},
            {"text", finding.text},
            {"remedy", finding.kind->remedy},
            {"line", numberOrNull(finding.line, 0)},
            {"node", numberOrNull(finding.node, -1)},
            {"child", numberOrNull(finding.child, -1)},
            {"address", textOrNull(finding.address)}};
}

Json gatewayJson(const MeshModel& mesh) {
    Json assigned = Json::array();
    for (const auto& [id, made] : mesh.assignments)
        assigned.push_back(id);
    return {{"starts", mesh.starts},
            {"restarts", mesh.restarts},
            {"logLines", mesh.logLines},
            {"radioLines", mesh.radioLines},
            {"unknownRadioLines", mesh.unknownRadioLines},
            {"silencesOver10", mesh.silences.over10},
            {"silencesOver20", mesh.silences.over20},
            {"longestSilence", mesh.silences.longest},
            {"idRequests", mesh.idRequests},
            {"assigned", std::move(assigned)}};
}

std::string dumped(const Json& object) {
    return object.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace

std::string findingJson(const Finding& finding) {
    return dumped({{"finding", objectOf(finding)}});
}

std::string jsonReport(const std::string& name, const RecordingReader& recording, const MeshModel& mesh,
                       const std::vector<Finding>& findings) {
    Json nodes = Json::array();
    for (const auto& [id, node] : mesh.nodes)
        nodes.push_back(nodeJson(id, node));
    Json list = Json::array();
    for (const Finding& each : findings)
        list.push_back(objectOf(each));
    const auto& driver = mesh.driverLines;
    return dumped({{"file", name},
                   {"format", recording.format()},
                   {"lines", recording.lines()},
                   {"start", numberOrNull(mesh.firstAt, -1)},
                   {"end", numberOrNull(mesh.lastAt, -1)},
                   {"fromGateway", mesh.fromGateway},
                   {"fromDriver", mesh.fromDriver},
                   {"malformed", mesh.malformed},
                   {"damaged", mesh.damagedCount},
                   {"bytes", mesh.bytes},
                   {"junk", mesh.junk},
                   {"nuls", mesh.nuls},
                   {"gateway", gatewayJson(mesh)},
                   {"driver",
                    {{"versions", driver.versions},
                     {"times", driver.times},
                     {"configurations", driver.configurations},
                     {"others", driver.others}}},
                   {"nodes", std::move(nodes)},
                   {"findings", std::move(list)}});
}

} // namespace hearthix::sim
