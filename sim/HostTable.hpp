// The table of units as a person has ordered it: which ones the filter lets through, and in which order.
#pragma once

#include "sim/HostModel.hpp"

#include <array>
#include <string>
#include <vector>

namespace hearthix::sim {

// Nothing has come for so long that the value may no longer be true.
bool isStale(const HostUnit& unit);
bool isBatteryLow(const HostUnit& unit);
// The unit's last values as a row of blocks, the newest at the right: from its lowest to its highest.
std::string sparkLine(const HostUnit& unit, std::size_t columns);

class HostTable {
public:
    enum Column { address, name, value, recent, battery, age, columns };

    // A text to be found in a unit's address, name or value, whatever the case; empty lets all through.
    String filter;

    Column sortedBy() const noexcept { return sortedBy_; }
    bool isReversed() const noexcept { return isReversed_; }
    // On to the next column that can be sorted by, or back with a step of -1.
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
