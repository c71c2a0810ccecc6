#include "hostlink/PacketBoundary.hpp"

#include <algorithm>

namespace hearthix {

// A multipacket has a length of two bytes, a common message one of a single byte.
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
        leaveHead();
    }
}

// A length shorter than the head leaves the rest of the head to the next packet. One of 0 ends all framing.
void PacketBoundary::leaveHead() noexcept {
    while (known_ >= headSize()) {
        const std::size_t length = head_[1] + (headSize() == 3 ? std::size_t{256} * head_[2] : 0);
        const std::size_t taken = length == 0 ? known_ : std::min(length, known_);
        rest_ = length - std::min(length, known_);
        std::copy(head_ + taken, head_ + known_, head_);
        known_ -= taken;
    }
}

std::size_t PacketBoundary::missing() const noexcept {
    return known_ > 0 ? headSize() - known_ : rest_;
}

} // namespace hearthix
