#include "tools/KbdbReports.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "tools/KbdbCheck.hpp"

#include <algorithm>
#include <bitset>
#include <cerrno>
#include <iostream>
#include <vector>

namespace hearthix {

namespace {

int firstLoss = 0;

bool outputIsLost() {
    if (!std::cout.good() && firstLoss == 0)
        firstLoss = errno != 0 ? errno : EIO;
    return firstLoss != 0;
}

} // namespace

void KbdbOutput::line(const std::string& text) {
    if (!outputIsLost())
        std::cout << text << '\n';
    outputIsLost();
}

int KbdbOutput::finish() {
    std::cout.flush();
    outputIsLost();
    return firstLoss;
}

namespace {

constexpr std::size_t kIndent = 4;
constexpr std::size_t kWidestColumn = 40;
constexpr std::size_t kLastId = 254;

// How many bytes of a control character begin here: 0 for none, 2 for one of the high ones.
std::size_t controlLength(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return static_cast<unsigned char>(i < text.size() ? text[i] : ' ');
    };
    if (byte(at) == 0xC2 && (byte(at + 1) & 0xE0U) == 0x80)
        return 2;
    return byte(at) < 0x20 || byte(at) == 0x7F ? 1 : 0;
}

std::string printable(std::string_view text) {
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t control = controlLength(text, i);
        if (control == 0)
            shown += text[i++];
        for (; control > 0; --control)
            shown.append("\\x").append(hexByte(text[i++]));
    }
    return shown;
}

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
    struct Frame {
        const CXML* node;
        std::int64_t next;
    };
    reportValues(root, 1, "");
    std::vector<Frame> open{{&root, 1}};
    while (!open.empty() && !outputIsLost()) {
        Frame& frame = open.back();
        if (frame.next > frame.node->Containers.Ubound()) {
            open.pop_back();
            continue;
        }
        const CXML& child = *frame.node->Containers[frame.next++];
        const std::size_t level = open.size();
        reportValues(child, level + 1, indentAt(level) + "Container: " + printable(child.Name) + " ");
        open.push_back({&child, 1});
    }
}

namespace {

using Row = std::vector<std::string>;

// Characters as a terminal counts them, near enough.
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

using IdSet = std::bitset<kLastId + 1>;

void reportIds(const char* title, const IdSet& ids) {
    std::string ranges;
    for (std::size_t id = 1; id <= kLastId; ++id) {
        if (!ids.test(id))
            continue;
        std::size_t last = id;
        while (last < kLastId && ids.test(last + 1))
            ++last;
        ranges.append(ranges.empty() ? "" : ", ").append(std::to_string(id));
        if (last > id)
            ranges.append("-").append(std::to_string(last));
        id = last;
    }
    KbdbOutput::line(title + std::to_string(ids.count()) + (ranges.empty() ? "" : ": ") + ranges);
}

} // namespace

void reportUnits(const CXML& root) {
    std::vector<Row> rows;
    IdSet taken;
    for (const auto& unit : root.containersNamed("unit")) {
        rows.push_back(rowOf(*unit));
        // As the driver reads it: text that is no number stands for node 0, which is the gateway.
        const Integer id = ValInteger(concat("&h", Left(unit->GetStringValue("Address"), 2)));
        if (id >= 1 && id <= static_cast<Integer>(kLastId))
            taken.set(static_cast<std::size_t>(id));
    }
    const auto widths = columnWidths(rows);
    for (const Row& row : rows)
        KbdbOutput::line(aligned(row, widths));
    IdSet free = ~taken;
    free.reset(0);
    KbdbOutput::line("units: " + std::to_string(rows.size()));
    reportIds("node IDs taken: ", taken);
    reportIds("node IDs free: ", free);
}

} // namespace hearthix
