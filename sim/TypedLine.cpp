#include "sim/TypedLine.hpp"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include <wchar.h>

namespace hearthix::sim {

namespace {

constexpr std::size_t kLongest = 500;
constexpr std::size_t kMostEntered = 100;

constexpr char control(char letter) {
    return static_cast<char>(letter - '@');
}

} // namespace

std::string TypedLine::bytesOf(const std::wstring& text) {
    std::string bytes(text.size() * MB_LEN_MAX, '\0');
    const std::size_t size = std::wcstombs(bytes.data(), text.c_str(), bytes.size());
    bytes.resize(size <= bytes.size() ? size : 0);
    return bytes;
}

void TypedLine::clear() {
    text_.clear();
    cursor_ = 0;
    recalled_ = entered_.size();
}

void TypedLine::begin(std::string_view text) {
    clear();
    text_.assign(text.begin(), text.end());
    cursor_ = text_.size();
}

bool TypedLine::take(const terminal::Key& key) {
    constexpr char kDelete = 127;
    const std::size_t end = text_.size();
    const std::size_t before = cursor_ > 0 ? cursor_ - 1 : 0;
    const std::size_t behind = std::min(cursor_ + 1, end);
    // The range that each key erases, and the cursor after it.
    const struct {
        bool isPressed;
        std::size_t from, to, cursor;
    } edits[] = {{key.is(KEY_LEFT), 0, 0, before},
                 {key.is(KEY_RIGHT), 0, 0, behind},
                 {key.is(KEY_HOME) || key.is(control('A')), 0, 0, 0},
                 {key.is(KEY_END) || key.is(control('E')), 0, 0, end},
                 {key.is(KEY_BACKSPACE) || key.is(kDelete) || key.is(control('H')), before, cursor_, before},
                 {key.is(KEY_DC), cursor_, behind, cursor_},
                 {key.is(control('U')), 0, cursor_, 0},
                 {key.is(control('K')), cursor_, end, cursor_}};
    for (const auto& edit : edits) {
        if (!edit.isPressed)
            continue;
        text_.erase(edit.from, edit.to - edit.from);
        cursor_ = edit.cursor;
        return true;
    }
    const auto character = static_cast<wchar_t>(key.code);
    if (key.isNamed || wcwidth(character) < 0 || character == L'\0')
        return false;
    if (text_.size() < kLongest)
        text_.insert(cursor_++, 1, character);
    return true;
}

void TypedLine::recall(int step) {
    const std::size_t last = entered_.size();
    if (step < 0 ? recalled_ == 0 : recalled_ == last)
        return;
    recalled_ = step < 0 ? recalled_ - 1 : recalled_ + 1;
    text_ = recalled_ < last ? entered_[recalled_] : std::wstring();
    cursor_ = text_.size();
}

std::string TypedLine::enter() {
    std::string line = text();
    if (!text_.empty() && (entered_.empty() || entered_.back() != text_))
        entered_.push_back(text_);
    if (entered_.size() > kMostEntered)
        entered_.erase(entered_.begin());
    clear();
    return line;
}

TypedLine::Part TypedLine::visible(int columns) const {
    Part part;
    std::size_t start = cursor_;
    while (start > 0 && part.cursor + wcwidth(text_[start - 1]) < columns)
        part.cursor += wcwidth(text_[--start]);
    part.text = bytesOf(text_.substr(start));
    return part;
}

} // namespace hearthix::sim
