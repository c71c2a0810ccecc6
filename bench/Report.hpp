// The results: a table for the terminal, a JSON file with every sample, and bar charts.
#pragma once

#include <string>
#include <vector>

namespace hearthix::bench {

// What was measured round by round, the driver and its limit in turns. The limit is the bare relay, or the
// plain structs for documents; it may be missing.
struct Samples {
    std::vector<double> driver;
    std::vector<double> limit;
};

double median(std::vector<double> values);
// The value that this part of them does not exceed, 0.99 for example.
double quantile(std::vector<double> values, double part);

enum class Judged { nothing, ratio, driver };

struct Row {
    std::string what;
    std::string unit;
    std::string chart; // the chart that shows it, if any
    Samples samples;
    Judged judged = Judged::nothing;
    double goal = 0; // the most that is good

    double driver() const { return median(samples.driver); }
    double limit() const { return median(samples.limit); }
    // The median of the rounds' own ratios: what slows the whole machine down for a while touches both.
    double ratio() const;
    double judgedValue() const { return judged == Judged::ratio ? ratio() : driver(); }
    bool isReached() const { return judgedValue() <= goal; }
};

class Report {
public:
    void add(Row row) { rows_.push_back(std::move(row)); }
    void print() const;
    // bench.json and the charts. Throws std::runtime_error when the folder takes no file.
    void save(const std::string& folder) const;

private:
    std::string json() const;

    std::vector<Row> rows_;
};

} // namespace hearthix::bench
