#include "sim/Text.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "runtime/values/Date.hpp"
#include "sim/system/Terminal.hpp"

#include <algorithm>
#include <array>

namespace hearthix::sim {

namespace {

bool continues(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

struct Character {
    char32_t code = 0;
    std::size_t size = 0; // in bytes; 0 for none
};

// The UTF-8 character at the front. The longer forms of a code are none: they would hide a control character
// from us, but not from every terminal.
Character characterOf(std::string_view text) {
    constexpr std::array<char32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    if (size == 0 || lead >= 0xF8 || text.size() < size)
        return {};
    char32_t code = lead & (0x7FU >> size);
    for (const char byte : text.substr(1, size - 1)) {
        if (!continues(byte))
            return {};
        code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    return code < kLeast[size] || code > 0x10FFFF || isSurrogate ? Character{} : Character{code, size};
}

// Controls, and what turns the direction of writing for all that stands behind it in the row.
bool drivesTerminal(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

// The front of a text, and what stands for it on a terminal.
struct Glyph {
    std::string_view shown = "?";
    std::size_t size = 1; // in bytes of the text
    std::size_t columns = 1;
};

Glyph glyphOf(std::string_view text) {
    const auto [code, size] = characterOf(text);
    if (size == 0 || drivesTerminal(code))
        return {"?", std::max<std::size_t>(size, 1)};
    const int columns = code < 0x80 ? 1 : terminal::columnsOf(code);
    if (columns < 0)
        return {"?", size};
    return {text.substr(0, size), size, static_cast<std::size_t>(columns)};
}

struct Cell {
    std::string text;
    std::size_t columns = 0;
};

// Marks take no column, so it is the bytes that keep a heap of them from growing out of the cell.
Cell cellOf(std::string_view text, std::size_t columns) {
    constexpr std::size_t kMostBytesColumn = 16;
    Cell cell;
    while (!text.empty() && cell.text.size() < columns * kMostBytesColumn) {
        const Glyph glyph = glyphOf(text);
        if (cell.columns + glyph.columns > columns)
            break;
        cell.text += glyph.shown;
        cell.columns += glyph.columns;
        text.remove_prefix(glyph.size);
    }
    return cell;
}

String twoDigits(Integer number) {
    return Format(static_cast<double>(number), "00");
}

} // namespace

std::string printable(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    while (!text.empty()) {
        const Glyph glyph = glyphOf(text);
        clean += glyph.shown;
        text.remove_prefix(glyph.size);
    }
    return clean;
}

std::string padded(std::string_view text, std::size_t columns) {
    const Cell cell = cellOf(text, columns);
    return cell.text + std::string(columns - cell.columns, ' ');
}

std::string paddedLeft(std::string_view text, std::size_t columns) {
    const Cell cell = cellOf(text, columns);
    return std::string(columns - cell.columns, ' ') + cell.text;
}

std::string lastColumns(std::string_view text, std::size_t columns) {
    std::size_t taken = 0;
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(glyphOf(rest).size))
        taken += glyphOf(rest).columns;
    while (taken > columns) {
        const Glyph first = glyphOf(text);
        taken -= first.columns;
        text.remove_prefix(first.size);
    }
    return printable(text);
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
