// A line that somebody types: a cursor that moves in it, and the lines that were entered before.
#pragma once

#include "sim/system/Terminal.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace hearthix::sim {

class TypedLine {
public:
    bool empty() const noexcept { return text_.empty(); }
    std::string text() const { return bytesOf(text_); }
    void clear();
    // Replaces the text by one in ASCII, with the cursor behind it.
    void begin(std::string_view text);
    // Carries out an editing key, or adds a character. False when the key means nothing to a line.
    bool take(const terminal::Key& key);
    // Goes back among the lines entered, or on again.
    void recall(int step);
    // The text, which is kept to be recalled; the line is empty after that.
    std::string enter();

    // What fits around the cursor, and in which of the columns that stands.
    struct Part {
        std::string text;
        int cursor = 0;
    };
    Part visible(int columns) const;

private:
    static std::string bytesOf(const std::wstring& text);

    std::wstring text_;
    std::size_t cursor_ = 0;
    std::vector<std::wstring> entered_;
    std::size_t recalled_ = 0; // the place among those; after the last when none is
};

} // namespace hearthix::sim
