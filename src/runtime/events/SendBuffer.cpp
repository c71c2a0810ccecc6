#include "runtime/events/SendBuffer.hpp"

namespace hearthix {

void SendBuffer::append(std::string_view bytes) {
    // Moves the unsent bytes only if they are no more than the sent ones, so each byte costs constant time.
    if (head_ > 0 && bytes_.size() + bytes.size() > bytes_.capacity() && head_ >= size()) {
        bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(head_));
        head_ = 0;
    }
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void SendBuffer::consume(std::size_t count) {
    head_ += count;
    if (head_ >= bytes_.size())
        clear();
}

void SendBuffer::clear() {
    head_ = 0;
    bytes_.clear();
    if (bytes_.capacity() > kKept)
        bytes_.shrink_to_fit();
}

} // namespace hearthix
