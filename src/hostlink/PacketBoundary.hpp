// Where the host's byte stream stands between two packets.
//
// Sees the bytes as they come, and knows of the packet that has begun how many are missing. It knows no more
// of a packet than its first bytes: docs/host-link.md has the framing.
#pragma once

#include <cstddef>
#include <string_view>

namespace hearthix {

class PacketBoundary {
public:
    void pass(std::string_view bytes) noexcept;
    // Bytes to the end of the packet, or to the end of its length where that has not come yet. 0 between two
    // packets.
    std::size_t missing() const noexcept;

private:
    std::size_t headSize() const noexcept;
    void leaveHead() noexcept;

    unsigned char head_[3] = {}; // type and length of the packet that has begun
    std::size_t known_ = 0;      // bytes of the head that have come
    std::size_t rest_ = 0;       // bytes after the head that have not
};

} // namespace hearthix
