#include "Report.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace hearthix::bench {

namespace {

// A run is worse when three quarters of its rounds are worse than three quarters of the accepted run's, and
// by more than this: a processor's frequency and the place of code in memory make as much.
constexpr double kNoise = 1.03;

// A JSON object or array of these entries, one a line.
void write(const std::string& path, const char* brackets, const std::vector<std::string>& entries) {
    std::ofstream file(path);
    for (const std::string& entry : entries)
        file << (&entry == entries.data() ? brackets[0] : ',') << '\n' << entry;
    file << '\n' << brackets[1] << '\n';
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path);
}

// A number with as many digits as a reader needs.
std::string cell(double value) {
    const double size = std::abs(value);
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", size >= 100 ? 0 : size >= 10 ? 1 : size >= 0.1 ? 2 : 3, value);
    return std::isnan(value) ? "-" : text;
}

Figures figuresOf(const Row& row) {
    const std::vector<double> all = row.figures();
    return {quantile(all, 0.25), median(all), quantile(all, 0.75)};
}

} // namespace

double quantile(std::vector<double> values, double part) {
    if (values.empty())
        return NAN;
    const auto place = std::lround(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

double median(std::vector<double> values) {
    return quantile(std::move(values), 0.5);
}

std::vector<double> Row::ratios() const {
    std::vector<double> all;
    for (std::size_t i = 0; i < std::min(samples.driver.size(), samples.limit.size()); ++i)
        if (samples.limit[i] > 0)
            all.push_back(samples.driver[i] / samples.limit[i]);
    return all;
}

std::vector<double> Row::figures() const {
    switch (judged) {
    case Judged::ratio: return ratios();
    case Judged::driver: return samples.driver;
    default: return {};
    }
}

void Report::compareWith(const std::string& path) {
    std::ifstream file(path);
    const auto rows = nlohmann::json::parse(file);
    for (const auto& [what, figures] : rows.items())
        accepted_[what] = {figures.at(0), figures.at(1), figures.at(2)};
}

const Figures* Report::accepted(const Row& row) const {
    const auto found = accepted_.find(row.what);
    return found == accepted_.end() ? nullptr : &found->second;
}

bool Report::isWorse(const Row& row) const {
    const Figures* before = accepted(row);
    return before != nullptr && figuresOf(row).low > before->high * kNoise;
}

std::size_t Report::countWorse() const {
    return static_cast<std::size_t>(
        std::count_if(rows_.begin(), rows_.end(), [this](const Row& row) { return isWorse(row); }));
}

void Report::print() const {
    std::printf("\n%-66s %-6s %10s %10s %8s %8s %8s\n", "what", "unit", "driver", "limit", "ratio", "goal",
                "before");
    for (const Row& row : rows_) {
        const Figures* before = accepted(row);
        const char* sign = row.judged == Judged::ratio ? "x " : "";
        std::printf("%-66s %-6s %10s %10s %8s %8s %8s  %s%s\n", row.what.c_str(), row.unit.c_str(),
                    cell(median(row.samples.driver)).c_str(), cell(median(row.samples.limit)).c_str(),
                    cell(median(row.ratios())).c_str(), row.goal ? (sign + cell(*row.goal)).c_str() : "-",
                    before != nullptr ? (sign + cell(before->median)).c_str() : "-",
                    !row.goal         ? ""
                    : row.isReached() ? "reached"
                                      : "MISSED",
                    isWorse(row) ? " WORSE" : "");
    }
}

void Report::save(const std::string& folder) const {
    std::vector<std::string> samples;
    std::vector<std::string> figures;
    const auto rounded = [](double value) { return std::round(value * 1000) / 1000; };
    for (const Row& row : rows_) {
        const nlohmann::ordered_json all{{"what", row.what},
                                         {"unit", row.unit},
                                         {"driver", row.samples.driver},
                                         {"limit", row.samples.limit}};
        samples.push_back(all.dump());
        const auto [low, middle, high] = figuresOf(row);
        if (!std::isnan(middle))
            figures.push_back(nlohmann::json(row.what).dump() + ": " +
                              nlohmann::json{rounded(low), rounded(middle), rounded(high)}.dump());
    }
    write(folder + "/bench.json", "[]", samples);
    write(folder + "/figures.json", "{}", figures);
}

} // namespace hearthix::bench
