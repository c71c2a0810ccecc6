// The table of units: its filter, its order and its columns.
#pragma once

#include "sim/HostModel.hpp"

#include <array>
#include <string>
#include <vector>

namespace hearthix::sim {

// Whether no value has arrived for ten minutes.
bool isStale(const HostUnit& unit);
bool isBatteryLow(const HostUnit& unit);
// The unit's last values as a row of blocks, the newest at the right; the heights span their range.
std::string sparkLine(const HostUnit& unit, std::size_t columns);

class HostTable {
public:
    enum Column { address, name, value, recent, battery, age, columns };

    // Only units with this text in address, name or value are listed; case is ignored.
    String filter;

    Column sortedBy() const noexcept { return sortedBy_; }
    bool isReversed() const noexcept { return isReversed_; }
    // Sorts by the next column, or with -1 by the previous one.
    void sortBy(int step);
    void reverse() noexcept { isReversed_ = !isReversed_; }

    std::vector<const HostUnit*> units(const HostModel& model) const;

    struct Heading {
        const char* title;
        int width; // in columns; 0 where the screen is too narrow for it
        bool isRight;
    };
    // For a screen of so many columns.
    static std::array<Heading, columns> headings(int width);

private:
    Column sortedBy_ = address;
    bool isReversed_ = false;
};

} // namespace hearthix::sim
