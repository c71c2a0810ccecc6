#include "Report.hpp"

#include "BarChart.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <stdexcept>

namespace hearthix::bench {

namespace {

void write(const std::string& path, const std::string& content) {
    std::ofstream file(path);
    file << content;
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path);
}

std::string list(const std::vector<double>& values) {
    std::string text;
    for (const double value : values)
        text += (text.empty() ? "" : ", ") + std::to_string(value);
    return "[" + text + "]";
}

std::string cell(double value, bool isThere = true) {
    return isThere && !std::isnan(value) ? readable(value) : "-";
}

std::string goalOf(const Row& row) {
    if (row.judged == Judged::nothing)
        return "-";
    return (row.judged == Judged::ratio ? "x " : "") + readable(row.goal);
}

std::string verdict(const Row& row) {
    return row.judged == Judged::nothing ? "" : row.isReached() ? "reached" : "MISSED";
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

double Row::ratio() const {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < std::min(samples.driver.size(), samples.limit.size()); ++i)
        if (samples.limit[i] > 0)
            ratios.push_back(samples.driver[i] / samples.limit[i]);
    return median(ratios);
}

void Report::print() const {
    std::printf("\n%-66s %-6s %10s %10s %8s %8s\n", "what", "unit", "driver", "limit", "ratio", "goal");
    for (const Row& row : rows_)
        std::printf("%-66s %-6s %10s %10s %8s %8s  %s\n", row.what.c_str(), row.unit.c_str(),
                    cell(row.driver()).c_str(), cell(row.limit()).c_str(), cell(row.ratio()).c_str(),
                    goalOf(row).c_str(), verdict(row).c_str());
}

std::string Report::json() const {
    std::string text;
    for (const Row& row : rows_) {
        text += text.empty() ? "" : ",\n";
        text += "  {\"what\": \"" + row.what + "\", \"unit\": \"" + row.unit + "\"";
        text += ", \"driver\": " + list(row.samples.driver) + ", \"limit\": " + list(row.samples.limit);
        if (row.judged != Judged::nothing)
            text += std::string(", \"judged\": \"") + (row.judged == Judged::ratio ? "ratio" : "driver") +
                    "\", \"value\": " + std::to_string(row.judgedValue()) +
                    ", \"goal\": " + std::to_string(row.goal) +
                    ", \"reached\": " + (row.isReached() ? "true" : "false");
        text += "}";
    }
    return "[\n" + text + "\n]\n";
}

void Report::save(const std::string& folder) const {
    write(folder + "/bench.json", json());
    BarChart goals{"Every goal at 100 %: shorter is better", {"reached, per cent of the goal"}, {}, 100};
    std::map<std::string, BarChart> charts;
    for (const Row& row : rows_) {
        if (row.judged != Judged::nothing && row.goal > 0)
            goals.groups.push_back({row.what, {100 * row.judgedValue() / row.goal}});
        if (row.chart.empty())
            continue;
        BarChart& chart = charts[row.chart];
        chart.title = row.chart + ", " + row.unit;
        chart.series = {"driver"};
        chart.groups.push_back({row.what, {row.driver()}});
        if (!row.samples.limit.empty()) {
            chart.series.emplace_back("limit");
            chart.groups.back().values.push_back(row.limit());
        }
    }
    write(folder + "/goals.svg", goals.svg());
    for (const auto& [name, chart] : charts) {
        std::string file = name;
        std::replace(file.begin(), file.end(), ' ', '-');
        write(folder + "/" + file + ".svg", chart.svg());
    }
}

} // namespace hearthix::bench
