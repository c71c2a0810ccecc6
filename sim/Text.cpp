#include "sim/Text.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "runtime/values/Date.hpp"
#include "sim/system/Terminal.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include <wchar.h>

namespace hearthix::sim {

namespace {

// Whether the character changes the direction of the text after it.
bool turnsWriting(wchar_t character) {
    return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

struct Character {
    std::size_t size = 1; // in bytes
    int columns = -1;     // -1 for bytes that are not shown, or are not a character
};

// The C library rejects overlong forms of a code. Some terminals accept them, so that they could contain
// control characters.
Character firstOf(std::string_view text) {
    terminal::useUtf8();
    wchar_t character = 0;
    std::mbstate_t state{};
    const std::size_t size = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (size == 0 || size > text.size())
        return {};
    return {size, turnsWriting(character) ? -1 : wcwidth(character)};
}

String twoDigits(Integer number) {
    return Format(static_cast<double>(number), "00");
}

} // namespace

std::string printable(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    while (!text.empty()) {
        const Character first = firstOf(text);
        clean += first.columns >= 0 ? text.substr(0, first.size) : "?";
        text.remove_prefix(first.size);
    }
    return clean;
}

std::size_t lineOf(std::string_view text, int columns) {
    std::size_t size = 0;
    std::size_t behindBlank = 0;
    while (size < text.size()) {
        const Character next = firstOf(text.substr(size));
        columns -= std::abs(next.columns);
        if (columns < 0)
            return behindBlank > 0 ? behindBlank : size;
        size += next.size;
        behindBlank = text[size - 1] == ' ' ? size : behindBlank;
    }
    return size;
}

std::string padded(std::string_view text, std::size_t columns) {
    return std::string(text) + std::string(std::max(columns, text.size()) - text.size(), ' ');
}

std::string paddedLeft(std::string_view text, std::size_t columns) {
    return std::string(std::max(columns, text.size()) - text.size(), ' ') + std::string(text);
}

std::vector<String> wordsOf(std::string_view line) {
    std::vector<String> words;
    while (true) {
        line.remove_prefix(std::min(line.find_first_not_of(" \t\r\n"), line.size()));
        if (line.empty())
            return words;
        const bool quoted = line[0] == '"';
        line.remove_prefix(quoted ? 1 : 0);
        const std::size_t end = std::min(line.find_first_of(quoted ? "\"" : " \t\r\n"), line.size());
        words.emplace_back(line.substr(0, end), TextEncoding::utf8);
        line.remove_prefix(std::min(end + (quoted ? 1 : 0), line.size()));
    }
}

String endingText(int status) {
    constexpr int kSignalled = 128;
    if (status <= kSignalled)
        return concat("with status ", Str(status));
    return concat("by signal ", Str(status - kSignalled), " (", strsignal(status - kSignalled), ")");
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
