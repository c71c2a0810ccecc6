#include "hostlink/PacketBoundary.hpp"

#include <algorithm>

namespace hearthix {

// The length has two bytes in a multipacket and one byte in a common message.
std::size_t PacketBoundary::headSize() const noexcept {
    return known_ > 0 && (head_[0] == 'J' || head_[0] == 'j') ? 3 : 2;
}

void PacketBoundary::pass(std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const std::size_t skipped = std::min(rest_, bytes.size());
        rest_ -= skipped;
        bytes.remove_prefix(skipped);
        if (bytes.empty())
            return;
        head_[known_++] = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        finishHead();
    }
}

// If the length is shorter than the head, the next packet begins inside it. A length of 0 ends the framing.
void PacketBoundary::finishHead() noexcept {
    while (known_ >= headSize()) {
        const std::size_t length = head_[1] + (headSize() == 3 ? std::size_t{256} * head_[2] : 0);
        const std::size_t used = length == 0 ? known_ : std::min(length, known_);
        rest_ = length - std::min(length, known_);
        std::copy(head_ + used, head_ + known_, head_);
        known_ -= used;
    }
}

std::size_t PacketBoundary::missing() const noexcept {
    return known_ > 0 ? headSize() - known_ : rest_;
}

} // namespace hearthix
