#include "sim/Text.hpp"

#include "runtime/Clock.hpp"
#include "runtime/Date.hpp"
#include "runtime/Numbers.hpp"
#include "runtime/StringFunctions.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

bool continues(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The size of the printable character at the front; 0 when there is none.
std::size_t characterSize(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead >= 0x20 && lead < 0x7F)
        return 1;
    const std::size_t size = lead >= 0xF0 && lead < 0xF5 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
    if (size == 0 || lead >= 0xF5 || text.size() < size)
        return 0;
    if (!std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(size), continues))
        return 0;
    // U+0080 to U+009F are controls too.
    return lead == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0 ? 0 : size;
}

std::size_t columnsOf(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return !continues(byte); }));
}

std::string cutTo(std::string_view text, std::size_t columns) {
    std::string clean = printable(text);
    std::size_t end = 0;
    for (std::size_t taken = 0; end < clean.size() && taken < columns; ++taken)
        do
            ++end;
        while (end < clean.size() && continues(clean[end]));
    clean.resize(end);
    return clean;
}

String twoDigits(Integer number) {
    return Format(static_cast<double>(number), "00");
}

} // namespace

std::string printable(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    while (!text.empty()) {
        const std::size_t size = characterSize(text);
        if (size == 0)
            clean += '?';
        else
            clean += text.substr(0, size);
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return clean;
}

std::string padded(std::string_view text, std::size_t columns) {
    std::string cell = cutTo(text, columns);
    cell.append(columns - columnsOf(cell), ' ');
    return cell;
}

std::string paddedLeft(std::string_view text, std::size_t columns) {
    std::string cell = cutTo(text, columns);
    cell.insert(0, columns - columnsOf(cell), ' ');
    return cell;
}

std::vector<String> wordsOf(std::string_view line, std::string_view comment) {
    std::vector<String> words;
    while (true) {
        line.remove_prefix(std::min(line.find_first_not_of(" \t\r\n"), line.size()));
        if (line.empty() || (!comment.empty() && line.starts_with(comment)))
            return words;
        const bool quoted = line[0] == '"';
        line.remove_prefix(quoted ? 1 : 0);
        const std::size_t end = std::min(line.find_first_of(quoted ? "\"" : " \t\r\n"), line.size());
        words.emplace_back(line.substr(0, end), TextEncoding::utf8);
        line.remove_prefix(std::min(end + (quoted ? 1 : 0), line.size()));
    }
}

String clockText(bool withMilliseconds) {
    const Date now;
    String time = concat(twoDigits(now.Hour()), ":", twoDigits(now.Minute()), ":", twoDigits(now.Second()));
    if (!withMilliseconds)
        return time;
    const clocks::Nanoseconds milliseconds = clocks::wall() / 1'000'000 % 1000;
    return concat(time, ".", Format(static_cast<double>(milliseconds), "000"));
}

String ageText(Integer seconds) {
    constexpr Integer kHour = 3600;
    constexpr Integer kDay = 24 * kHour;
    if (seconds < 60)
        return Str(seconds) + "s";
    if (seconds < kHour)
        return Str(seconds / 60) + "m";
    if (seconds < 2 * kDay)
        return Str(seconds / kHour) + "h";
    return Str(seconds / kDay) + "d";
}

} // namespace hearthix::sim
