#include "BarChart.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace hearthix::bench {

namespace {

constexpr double kLabelWidth = 420;
constexpr double kBarsWidth = 400;
constexpr double kWidth = kLabelWidth + kBarsWidth + 100;
constexpr double kBar = 16;
constexpr double kGap = 12;
constexpr double kTop = 64;
constexpr std::array kColours{"#2563a8", "#c9a227"};

std::string number(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return text.data();
}

std::string text(double x, double y, const std::string& style, const std::string& content) {
    // White around the letters keeps them readable on the line of the mark.
    return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" " + style +
           " paint-order=\"stroke\" stroke=\"white\" stroke-width=\"3\">" + content + "</text>\n";
}

std::string box(double x, double y, double width, double height, const std::string& colour) {
    return "<rect x=\"" + number(x) + "\" y=\"" + number(y) + "\" width=\"" + number(width) + "\" height=\"" +
           number(height) + "\" fill=\"" + colour + "\"/>\n";
}

} // namespace

std::string readable(double value) {
    std::array<char, 32> text{};
    const double size = std::abs(value);
    std::snprintf(text.data(), text.size(), "%.*f",
                  size >= 100   ? 0
                  : size >= 10  ? 1
                  : size >= 0.1 ? 2
                                : 3,
                  value);
    return text.data();
}

std::string BarChart::svg() const {
    double largest = mark;
    for (const Group& group : groups)
        for (const double value : group.values)
            largest = std::max(largest, value);
    const double scale = largest > 0 ? kBarsWidth / largest : 0;
    std::string body = text(12, 24, "font-size=\"16\" font-weight=\"bold\"", title);
    for (std::size_t i = 0; i < series.size(); ++i) {
        const double x = kLabelWidth + 130 * static_cast<double>(i);
        body += box(x, 38, 12, 12, kColours.at(i));
        body += text(x + 18, 49, "", series[i]);
    }
    double bars = 0;
    for (const Group& group : groups)
        bars += kBar * static_cast<double>(group.values.size()) + kGap;
    if (mark > 0)
        body += box(kLabelWidth + mark * scale, kTop - 6, 1.5, bars, "#b02020");
    double y = kTop;
    for (const Group& group : groups) {
        const double height = kBar * static_cast<double>(group.values.size());
        body += text(kLabelWidth - 8, y + height / 2 + 4, "text-anchor=\"end\"", group.label);
        for (std::size_t i = 0; i < group.values.size(); ++i, y += kBar) {
            const double width = group.values[i] * scale;
            body += box(kLabelWidth, y + 1, width, kBar - 2, kColours.at(i));
            body += text(kLabelWidth + width + 5, y + 12, "", readable(group.values[i]));
        }
        y += kGap;
    }
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number(kWidth) + "\" height=\"" +
           number(y + 4) +
           "\" font-family=\"sans-serif\" font-size=\"12\">\n"
           "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n" +
           body + "</svg>\n";
}

} // namespace hearthix::bench
