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

bool TypedLine::erase(std::size_t from, std::size_t to) {
    text_.erase(from, to - from);
    return moveTo(from);
}

bool TypedLine::moveTo(std::size_t place) {
    cursor_ = std::min(place, text_.size());
    return true;
}

bool TypedLine::take(const terminal::Key& key) {
    constexpr char kDelete = 127;
    const std::size_t before = cursor_ > 0 ? cursor_ - 1 : 0;
    if (key.is(KEY_LEFT))
        return moveTo(before);
    if (key.is(KEY_RIGHT))
        return moveTo(cursor_ + 1);
    if (key.is(KEY_HOME) || key.is(control('A')))
        return moveTo(0);
    if (key.is(KEY_END) || key.is(control('E')))
        return moveTo(text_.size());
    if (key.is(KEY_BACKSPACE) || key.is(kDelete) || key.is(control('H')))
        return erase(before, cursor_);
    if (key.is(KEY_DC))
        return erase(cursor_, std::min(cursor_ + 1, text_.size()));
    if (key.is(control('U')))
        return erase(0, cursor_);
    if (key.is(control('K')))
        return erase(cursor_, text_.size());
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
