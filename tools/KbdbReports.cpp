#include "tools/KbdbReports.hpp"

#include "gateway/NodeIds.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace hearthix {

namespace {

constexpr std::size_t kIndent = 4;
constexpr std::size_t kWidestColumn = 40;

std::string indentAt(std::size_t level) {
    if (level <= kDeepestIndent)
        return std::string(kIndent * level, ' ');
    return std::string(kIndent * kDeepestIndent, ' ') + "[level " + std::to_string(level) + "] ";
}

void reportValues(const CXML& node, std::size_t level, const std::string& title) {
    KbdbOutput::line(title + "(" + std::to_string(node.GetKeyCount()) + ") value keys");
    const std::string indent = indentAt(level);
    for (Integer i = 0; i < node.GetKeyCount(); ++i)
        KbdbOutput::line(indent + printable(node.Values->Key(i).asString()) + "=" +
                         printable(node.Values->ValueAt(i).asString()));
}

} // namespace

void reportTree(const CXML& root) {
    const auto enter = [](const CXML& node, std::size_t level, bool) {
        const std::string title =
            level == 0 ? "" : indentAt(level) + "Container: " + printable(node.Name) + " ";
        reportValues(node, level + 1, title);
    };
    walkTree(root, enter, [] {});
}

namespace {

using Row = std::vector<std::string>;

// The number of characters, as an approximation of the columns on a terminal.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(Len(String(text, TextEncoding::utf8)));
}

Row rowOf(const CXML& unit) {
    Row row{unit.ObjectExists("Address") ? printable(unit.GetStringValue("Address")) : "(no address)"};
    for (Integer i = 0; i < unit.GetKeyCount(); ++i)
        if (const String key = unit.GetKeyByIndex(i); key != "Address")
            row.push_back(printable(key) + "=" + printable(unit.GetStringValue(key)));
    return row;
}

std::vector<std::size_t> columnWidths(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::min(std::max(widths[i], widthOf(row[i])), kWidestColumn);
    }
    return widths;
}

std::string aligned(const Row& row, const std::vector<std::size_t>& widths) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        line += row[i];
        if (i + 1 < row.size())
            line.append(widths[i] - std::min(widths[i], widthOf(row[i])) + 2, ' ');
    }
    return line;
}

// Prints the number of IDs, then the IDs as ranges.
void reportIds(const char* title, const NodeIdSet& ids) {
    std::string ranges;
    for (std::size_t id = 1; id < ids.size(); ++id) {
        if (!ids.test(id))
            continue;
        const std::size_t first = id;
        while (id + 1 < ids.size() && ids.test(id + 1))
            ++id;
        ranges.append(ranges.empty() ? ": " : ", ").append(std::to_string(first));
        if (id > first)
            ranges.append("-").append(std::to_string(id));
    }
    KbdbOutput::line(title + std::to_string(ids.count()) + ranges);
}

std::string nextId(const CXML& root) {
    const Integer id = mySensors::chooseNodeId(root);
    if (id != mySensors::kNoIdLeft)
        return std::to_string(id);
    return "none: \"node requests new ID but all slots are full.\" Delete the units of nodes that do not "
           "exist "
           "any more from the host, those with the highest ID first, until the highest ID is 252 or lower.";
}

} // namespace

Integer nodeOf(const CXML& unit) {
    return ValInteger(concat("&h", Left(unit.GetStringValue("Address"), 2)));
}

NodeIdSet takenIds(const CXML& root) {
    NodeIdSet taken;
    for (const auto& unit : root.containersNamed("unit"))
        if (const Integer id = nodeOf(*unit); id >= 0 && std::cmp_less(id, taken.size()))
            taken.set(static_cast<std::size_t>(id));
    return taken.reset(0);
}

NodeIdSet freeIds(const NodeIdSet& taken) {
    return (~taken).reset(0).reset(255);
}

void reportUnits(const CXML& root) {
    std::vector<Row> rows;
    for (const auto& unit : root.containersNamed("unit"))
        rows.push_back(rowOf(*unit));
    const auto widths = columnWidths(rows);
    for (const Row& row : rows)
        KbdbOutput::line(aligned(row, widths));
    KbdbOutput::line("units: " + std::to_string(rows.size()));
    const auto taken = takenIds(root);
    reportIds("node IDs taken: ", taken);
    reportIds("node IDs free: ", freeIds(taken));
    KbdbOutput::line("next ID the driver hands out: " + nextId(root));
}

} // namespace hearthix
