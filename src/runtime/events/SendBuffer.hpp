// Bytes that wait to be sent: appended at the end, taken from the front, at linear cost over a whole stream.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace hearthix {

class SendBuffer {
public:
    std::size_t size() const noexcept { return bytes_.size() - head_; }
    bool empty() const noexcept { return size() == 0; }
    std::string_view front() const noexcept { return {bytes_.data() + head_, size()}; }
    void append(std::string_view bytes);
    void consume(std::size_t count);
    void clear();

private:
    // What a burst has left allocated is given back once the buffer is empty.
    static constexpr std::size_t kKept = std::size_t{1024} * 1024;

    std::vector<char> bytes_;
    std::size_t head_ = 0;
};

} // namespace hearthix
