#include "sim/HostTable.hpp"

#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

namespace hearthix::sim {

namespace {

constexpr clocks::Nanoseconds kStaleAfter = 600'000'000'000;
constexpr double kLowBattery = 20;
constexpr double kNone = std::numeric_limits<double>::infinity();

// The sort key: a number or kNone, then a text, then the address.
using SortKey = std::tuple<double, std::string, std::string>;

std::string lower(const String& text) {
    std::string small(text.view());
    for (char& letter : small)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    return small;
}

SortKey sortKey(const HostModel& model, const HostUnit& unit, HostTable::Column column) {
    std::string address = lower(unit.address);
    switch (column) {
    case HostTable::name: return {0, lower(model.nameOf(unit)), address};
    case HostTable::value: {
        const std::optional<double> number = numberIn(unit.value);
        return {number.value_or(kNone), number ? std::string() : lower(unit.value), address};
    }
    case HostTable::battery:
        if (!unit.hasBattery)
            return {kNone, {}, address};
        return {numberIn(unit.battery).value_or(kNone), {}, address};
    case HostTable::age: return {-static_cast<double>(unit.changedAt), {}, address};
    default: return {0, address, {}};
    }
}

} // namespace

bool isStale(const HostUnit& unit) {
    return unit.changedAt == 0 || clocks::monotonic() - unit.changedAt > kStaleAfter;
}

bool isBatteryLow(const HostUnit& unit) {
    return unit.hasBattery && numberIn(unit.battery).value_or(kNone) <= kLowBattery;
}

std::string sparkLine(const HostUnit& unit, std::size_t columns) {
    constexpr std::array<const char*, 8> kBlocks{"\u2581", "\u2582", "\u2583", "\u2584",
                                                 "\u2585", "\u2586", "\u2587", "\u2588"};
    const std::size_t count = std::min(columns, unit.recent.size());
    std::string line(columns - count, ' ');
    const auto first = unit.recent.end() - static_cast<std::ptrdiff_t>(count);
    const auto [low, high] = std::minmax_element(first, unit.recent.end());
    for (auto each = first; each != unit.recent.end(); ++each) {
        // Halved, because the difference of two finite numbers can be infinite.
        const double range = *high / 2 - *low / 2;
        const double part = range > 0 ? (*each / 2 - *low / 2) / range : 0;
        line += kBlocks[static_cast<std::size_t>(std::lround(part * (kBlocks.size() - 1)))];
    }
    return line;
}

// On a wide screen names get more columns. The rest stays empty, because values do not need it.
std::array<HostTable::Heading, HostTable::columns> HostTable::headings(int width) {
    constexpr int kWidestName = 48;
    constexpr int kWidestValue = 40;
    const bool isNarrow = width < 36;
    const bool isWide = width >= 52;
    const int edge = isNarrow ? 0 : 5;
    const int gaps = isNarrow ? 1 : isWide ? 5 : 4;
    const int address = std::clamp(width / 4, 12, 16);
    const int rest = std::max(width - address - 2 * edge - gaps, 6);
    const int recent = isWide ? std::min(rest / 3, static_cast<int>(HostModel::kRecentValues)) : 0;
    const int name = isNarrow ? 0 : std::min((rest - recent) / 2, kWidestName);
    const int value = std::min(rest - recent - name, kWidestValue);
    return {{{"ADDRESS", address, false},
             {"NAME", name, false},
             {"VALUE", value, false},
             {"RECENT", recent, false},
             {"BATT", edge, true},
             {"AGE", edge, true}}};
}

void HostTable::sortBy(int step) {
    do
        sortedBy_ = static_cast<Column>((sortedBy_ + columns + step) % columns);
    while (sortedBy_ == recent);
}

std::vector<const HostUnit*> HostTable::units(const HostModel& model) const {
    std::vector<std::pair<SortKey, const HostUnit*>> entries;
    for (const Ref<HostUnit>& unit : model.units())
        if (filter.empty() ||
            InStr(1, concat(unit->address, " ", model.nameOf(*unit), " ", unit->value), filter) > 0)
            entries.emplace_back(sortKey(model, *unit, sortedBy_), &*unit);
    // Units without a number come last in both orders.
    std::sort(entries.begin(), entries.end(), [this](const auto& left, const auto& right) {
        const bool leftIsNone = std::get<0>(left.first) == kNone;
        const bool rightIsNone = std::get<0>(right.first) == kNone;
        if (leftIsNone != rightIsNone)
            return rightIsNone;
        return isReversed_ ? right.first < left.first : left.first < right.first;
    });
    std::vector<const HostUnit*> sorted;
    sorted.reserve(entries.size());
    for (const auto& [key, unit] : entries)
        sorted.push_back(unit);
    return sorted;
}

} // namespace hearthix::sim
