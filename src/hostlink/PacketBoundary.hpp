// Finds the packet boundaries in the host's byte stream.
//
// It reads the length at the start of each packet and counts how many bytes are missing from the current one.
// docs/host-link.md describes the framing.
#pragma once

#include <cstddef>
#include <string_view>

namespace hearthix {

class PacketBoundary {
public:
    void pass(std::string_view bytes) noexcept;
    // The number of bytes up to the end of the packet, or up to the end of its length while that is
    // incomplete. 0 between two packets.
    std::size_t missing() const noexcept;

private:
    std::size_t headSize() const noexcept;
    void finishHead() noexcept;

    unsigned char head_[3] = {}; // type and length of the current packet
    std::size_t known_ = 0;      // bytes of the head that have arrived
    std::size_t rest_ = 0;       // bytes after the head that have not arrived
};

} // namespace hearthix
