// What a run has measured, as a file for script/bench, which prints and compares it.
#pragma once

#include <cmath>
#include <deque>
#include <string>
#include <vector>

namespace hearthix::bench {

double median(std::vector<double> values);

constexpr double kNone = NAN;

// A sample of the driver, and a sample of its baseline, for example the relay.
struct Sample {
    double driver;
    double baseline = kNone;
};

class Results {
public:
    // Adds a sample to a row. The first sample creates the row. A row with a baseline is judged by the ratios
    // of its samples, because other load on the machine slows down both sides. Other rows are judged by the
    // driver's own figures. The goal is the highest value that counts as good.
    void add(const std::string& what, const char* unit, double goal, const Sample& sample);
    // Writes a JSON object: for each row its unit, its goal, the medians of both sides, and the quartiles of
    // the ratios or figures by which it is judged.
    void save(const std::string& path) const;

private:
    struct Row {
        std::string what;
        const char* unit;
        double goal;
        std::vector<double> driver, baseline, judged;
    };

    std::deque<Row> rows_;
};

void measureDocuments(Results& results, int rounds, std::size_t units);

} // namespace hearthix::bench
