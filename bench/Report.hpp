// The results: a table for the terminal that compares with an accepted run, and two JSON files.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace hearthix::bench {

// What was measured round by round, the driver and its limit in turns. The limit is the bare relay, or the
// plain structs for documents; it may be missing.
struct Samples {
    std::vector<double> driver;
    std::vector<double> limit;
};

double median(std::vector<double> values);
// The value that this part of them does not exceed, 0.99 for example; NaN when there are none.
double quantile(std::vector<double> values, double part);

// What tells whether a row is good, and whether it has got worse: nothing does where the driver's own figure
// depends on the machine and there is no limit beside it.
enum class Judged { nothing, ratio, driver };

struct Row {
    std::string what;
    std::string unit;
    Samples samples;
    Judged judged = Judged::nothing;
    std::optional<double> goal; // the most that is good

    // The rounds' own ratios: what slows the whole machine down for a while touches both sides.
    std::vector<double> ratios() const;
    // What the row is judged by, round by round.
    std::vector<double> figures() const;
    bool isReached() const { return median(figures()) <= goal; }
};

// The quartiles of a row's figures in a run: half of its rounds lie between low and high.
struct Figures {
    double low;
    double median;
    double high;
};

class Report {
public:
    void add(Row row) { rows_.push_back(std::move(row)); }
    // From here on rows are compared with those of a run that was saved as figures.json.
    void compareWith(const std::string& path);
    void print() const;
    // How many rows got worse than in the accepted run, by more than noise.
    std::size_t countWorse() const;
    // bench.json holds every sample, figures.json the quartiles of what can be compared.
    void save(const std::string& folder) const;

private:
    const Figures* accepted(const Row& row) const;
    bool isWorse(const Row& row) const;

    std::vector<Row> rows_;
    std::map<std::string, Figures> accepted_; // by what was measured
};

} // namespace hearthix::bench
