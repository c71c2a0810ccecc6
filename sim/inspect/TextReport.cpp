#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "sim/inspect/Names.hpp"
#include "sim/inspect/Report.hpp"
#include "sim/Mesh.hpp"
#include "sim/Text.hpp"

namespace hearthix::sim {

namespace {

constexpr int kColumns = 80;
constexpr std::size_t kLongestValue = 25;

std::string counted(Integer count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// Adds a wrapped text. Its further lines are indented by two more columns.
void addLine(std::string& report, std::size_t indent, const std::string& text) {
    const std::string clean = printable(text);
    std::string_view rest = clean;
    std::size_t blanks = indent;
    do {
        const std::size_t size = lineOf(rest, kColumns - static_cast<int>(blanks));
        std::string_view part = rest.substr(0, size);
        rest.remove_prefix(size);
        part = part.substr(0, part.find_last_not_of(' ') + 1);
        report.append(blanks, ' ').append(part).append("\n");
        blanks = indent + 2;
    } while (!rest.empty());
}

std::string rangeText(const RecordingReader& recording, const MeshModel& mesh) {
    return mesh.firstAt < 0 ? "no times"
                            : recording.timeText(mesh.firstAt) + " to " + recording.timeText(mesh.lastAt);
}

// "Weather 1.0, MySensors 2.3.2, battery 95 %", as far as it is known.
std::string selfDescription(const Node& node) {
    std::string text = node.sketch.text();
    text += (text.empty() || node.version.texts.empty() ? "" : " ") + node.version.text();
    if (!node.library.texts.empty())
        text += (text.empty() ? "MySensors " : ", MySensors ") + node.library.text();
    if (node.battery)
        text += (text.empty() ? "battery " : ", battery ") + std::to_string(*node.battery) + " %";
    return text.empty() ? "has not presented itself" : text;
}

std::string commandText(const Variable& variable) {
    const Integer open = variable.commands - variable.echoes - variable.answers;
    return counted(variable.commands, "command", "commands") + ": " + std::to_string(variable.echoes) +
           " echoed, " + std::to_string(variable.answers) + " answered, " + std::to_string(open) +
           " without an answer";
}

std::string valueText(const Variable& variable) {
    std::string text = counted(variable.values, "value", "values");
    if (variable.values > 0)
        text += ", first " + shortened(variable.first, kLongestValue) + ", last " +
                shortened(variable.last, kLongestValue);
    if (variable.values > 1 && variable.lowest)
        text += ", " + std::string(Str(*variable.lowest).view()) + " to " +
                std::string(Str(*variable.highest).view());
    return text;
}

std::string unitText(Integer node, Integer child, Integer type) {
    if (type < 0)
        return "without a name"; // commands for a unit of an unknown type have the type -1
    std::string text(unitAddress(node, child, type).view());
    if (!isNamedType(type))
        text += " (" + protocolName(type) + ")";
    return text;
}

void addChild(std::string& report, Integer id, Integer number, const Child& child) {
    std::string head = "child " + std::to_string(number) + " (" + addressOf(id, number) + ")";
    head += child.presentations > 0 ? "  " + presentedName(child.types.text()) : "  not presented";
    if (!child.description.empty())
        head += " \"" + child.description + "\"";
    if (number == mySensors::kNodeLevelChild)
        head = "values of the node as a whole, which make no unit";
    else if (!child.hasValue())
        head += ", no value";
    addLine(report, 2, head);
    for (const auto& [type, variable] : child.variables) {
        addLine(report, 4, padded(unitText(id, number, type), 14) + "  " + valueText(variable));
        if (variable.commands > 0)
            addLine(report, 6, commandText(variable));
    }
}

void addNode(std::string& report, const RecordingReader& recording, Integer id, const Node& node) {
    addLine(report, 0,
            "NODE " + std::to_string(id) + " (" + addressOf(id, 255).substr(0, 2) + ")  " +
                selfDescription(node));
    std::string heard = counted(node.messages, "message", "messages") + ", presented " +
                        counted(node.presentations, "time", "times");
    if (node.messages > 0)
        heard += ", last heard in line " + std::to_string(node.lastLine) +
                 (node.lastAt < 0 ? "" : " at " + recording.timeText(node.lastAt));
    addLine(report, 2, heard);
    if (node.sent > 0)
        addLine(report, 2,
                "radio: " + std::to_string(node.failed) + " of " +
                    counted(node.sent, "transmission", "transmissions") + " failed");
    for (const auto& [number, child] : node.children)
        addChild(report, id, number, child);
}

void addGateway(std::string& report, const MeshModel& mesh) {
    const auto found = mesh.nodes.find(0);
    const std::string version = found != mesh.nodes.end() ? found->second.library.text() : std::string();
    addLine(report, 0,
            "GATEWAY  MySensors " + (version.empty() ? "of unknown version" : version) +
                ", announced its start " + counted(mesh.starts, "time", "times"));
    if (mesh.logLines > 0)
        addLine(report, 2,
                "log: " + counted(mesh.logLines, "line", "lines") + ", " + std::to_string(mesh.radioLines) +
                    " from the radio, " + std::to_string(mesh.unknownRadioLines) +
                    " of these not interpreted");
    for (const std::string& each : mesh.logTexts)
        addLine(report, 4, each);
    if (mesh.lastAt >= 0)
        addLine(report, 2,
                "silences: " + std::to_string(mesh.silences.over10) + " above 10 s, " +
                    std::to_string(mesh.silences.over20) + " of these above 20 s, the longest " +
                    std::to_string(mesh.silences.longest / 1000) + " s");
    const auto& lines = mesh.driverLines;
    addLine(report, 2,
            "driver: asked for the version " + counted(lines.versions, "time", "times") + "; sent the time " +
                counted(lines.times, "time", "times") + ", the configuration " +
                counted(lines.configurations, "time", "times") + ", " +
                counted(lines.others, "other line", "other lines"));
    std::string ids = counted(mesh.idRequests, "request", "requests") + " for an ID, assigned";
    for (const auto& [id, made] : mesh.assignments)
        ids += " " + std::to_string(id);
    if (mesh.idRequests > 0 || !mesh.assignments.empty())
        addLine(report, 2, ids + (mesh.assignments.empty() ? " none" : ""));
}

} // namespace

std::string findingText(const Finding& finding) {
    std::string text;
    addLine(text, 0, std::string(finding.kind->name) + ": " + finding.text);
    addLine(text, 2, finding.kind->remedy);
    return text;
}

std::string textReport(const std::string& name, const RecordingReader& recording, const MeshModel& mesh,
                       const std::vector<Finding>& findings) {
    std::string report;
    addLine(report, 0,
            name + ": " + recording.format() + ", " + counted(recording.lines(), "line", "lines") + ", " +
                rangeText(recording, mesh));
    addLine(report, 0,
            std::to_string(mesh.fromGateway) + " from the gateway, " + std::to_string(mesh.fromDriver) +
                " from the driver, " + std::to_string(mesh.malformed + mesh.damagedCount) + " damaged" +
                (!mesh.isLoose ? ""
                               : "; directions are guessed, so a command that a "
                                 "host sent may count as a value of its node"));
    report += "\n";
    addGateway(report, mesh);
    for (const auto& [id, node] : mesh.nodes)
        if (id != 0 || !node.children.empty() || !node.sketch.texts.empty())
            addNode(report, recording, id, node);
    if (mesh.dropped > 0)
        addLine(report, 0, counted(mesh.dropped, "value is", "values are") + " of types too many to list");
    report += findings.empty()
                  ? "\nNo findings.\n"
                  : "\n" + counted(static_cast<Integer>(findings.size()), "FINDING", "FINDINGS") + "\n";
    for (const Finding& each : findings)
        report += findingText(each);
    return report;
}

} // namespace hearthix::sim
