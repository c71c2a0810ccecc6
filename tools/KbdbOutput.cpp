#include "tools/KbdbOutput.hpp"

#include "runtime/text/StringFunctions.hpp"
#include "tools/KbdbCheck.hpp"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace hearthix {

namespace {

int firstLoss = 0;

// Whether a character, or one byte of an incomplete one, can be printed.
bool isPlain(std::string_view character) {
    using Range = std::pair<std::string_view, std::string_view>;
    constexpr Range kMarks[] = {{"\u0080", "\u009F"},
                                {"\u061C", "\u061C"},
                                {"\u200E", "\u200F"},
                                {"\u2028", "\u202E"},
                                {"\u2066", "\u2069"}};
    if (character.size() == 1)
        return character[0] >= ' ' && character[0] < '\x7F';
    // Code points and their bytes are in the same order.
    return std::none_of(std::begin(kMarks), std::end(kMarks), [&](const Range& range) {
        return character >= range.first && character <= range.second;
    });
}

} // namespace

void KbdbOutput::begin() {
    if (fcntl(STDOUT_FILENO, F_GETFD) < 0)
        firstLoss = errno;
}

bool KbdbOutput::isLost() {
    return firstLoss != 0;
}

void KbdbOutput::raw(std::string_view bytes) {
    errno = 0;
    if (!isLost() && !std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        firstLoss = errno != 0 ? errno : EIO;
}

void KbdbOutput::line(const std::string& text) {
    raw(text + '\n');
}

int KbdbOutput::finish() {
    errno = 0;
    if (!isLost() && !std::cout.flush())
        firstLoss = errno != 0 ? errno : EIO;
    return firstLoss;
}

bool KbdbOutput::isTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

std::string printable(std::string_view text) {
    std::string shown;
    for (String rest(text, TextEncoding::utf8); !rest.empty();) {
        const String character = Left(rest, 1);
        rest = rest.cut(character.size());
        if (character == "\\")
            shown += "\\\\";
        else if (isPlain(character))
            shown += character.view();
        else
            for (const char byte : character.view())
                shown.append("\\x").append(hexByte(byte));
    }
    return shown;
}

} // namespace hearthix
