// Reads a file, a pipe or standard input from its beginning to its end, or continues while it grows.
#pragma once

#include "runtime/text/String.hpp"

#include <string_view>
#include <vector>

namespace hearthix {

class FollowedInput {
public:
    enum class State { bytes, nothingYet, ended, failed };

    FollowedInput() = default;
    FollowedInput(const FollowedInput&) = delete;
    FollowedInput& operator=(const FollowedInput&) = delete;
    ~FollowedInput();

    // "-" means standard input. Returns false, with a reason, if the input cannot be read or is a folder or a
    // device.
    bool open(const String& path, bool follow);
    const String& reason() const noexcept { return reason_; }
    // Waits at most a moment. A followed file never ends; reading fails if it becomes shorter.
    State read();
    // The bytes of the last read, valid until the next one.
    std::string_view bytes() const noexcept { return {buffer_.data(), size_}; }

private:
    State atEnd();

    int descriptor_ = -1;
    bool isFile_ = false;
    bool follow_ = false;
    std::int64_t position_ = 0;
    std::vector<char> buffer_;
    std::size_t size_ = 0;
    String reason_;
};

} // namespace hearthix
