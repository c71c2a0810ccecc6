#include "bench/Results.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace hearthix::bench {

namespace {

double quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    return values.at(static_cast<std::size_t>(std::lround(part * static_cast<double>(values.size() - 1))));
}

} // namespace

double median(std::vector<double> values) {
    return quantile(std::move(values), 0.5);
}

void Results::add(const std::string& what, const char* unit, double goal, const Sample& sample) {
    auto row = std::find_if(rows_.begin(), rows_.end(), [&](const Row& each) { return each.what == what; });
    if (row == rows_.end())
        row = rows_.insert(row, {what, unit, goal, {}, {}, {}});
    row->driver.push_back(sample.driver);
    row->baseline.push_back(sample.baseline);
    row->judged.push_back(sample.driver / (std::isnan(sample.baseline) ? 1 : sample.baseline));
}

void Results::save(const std::string& path) const {
    nlohmann::ordered_json all;
    for (const Row& row : rows_)
        all[row.what] = {{"unit", row.unit},
                         {"goal", row.goal},
                         {"driver", median(row.driver)},
                         {"baseline", median(row.baseline)},
                         {"low", quantile(row.judged, 0.25)},
                         {"median", median(row.judged)},
                         {"high", quantile(row.judged, 0.75)}};
    if (!(std::ofstream(path) << all << '\n').flush())
        throw std::runtime_error("cannot write " + path + "; is the disk full?");
}

} // namespace hearthix::bench
