// A horizontal bar chart as SVG: one group of bars a label, one colour a series, the value at each bar's end.
#pragma once

#include <string>
#include <vector>

namespace hearthix::bench {

struct BarChart {
    struct Group {
        std::string label;
        std::vector<double> values; // one a series
    };
    std::string title; // with the unit
    std::vector<std::string> series;
    std::vector<Group> groups;
    double mark = 0; // a value at which to draw a line; none at 0

    std::string svg() const;
};

// A number with as many digits as a reader needs.
std::string readable(double value);

} // namespace hearthix::bench
