// A line that the user edits, with a cursor and a history.
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
    // Carries out an editing key, or adds a character. False for any other key.
    bool take(const terminal::Key& key);
    // Shows an earlier (-1) or later (1) line of the history.
    void recall(int step);
    // Returns the text, adds it to the history, and empties the line.
    std::string enter();

    // The part of the text around the cursor that fits, and the cursor's column in it.
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
    std::size_t recalled_ = 0; // the index of the line shown; the size if none is
};

} // namespace hearthix::sim
