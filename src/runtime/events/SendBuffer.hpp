// Bytes to be sent: appended at the end, removed from the front, at a constant cost per byte.
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
    // An empty buffer releases memory beyond this size.
    static constexpr std::size_t kKept = std::size_t{1024} * 1024;

    std::vector<char> bytes_;
    std::size_t head_ = 0;
};

} // namespace hearthix
