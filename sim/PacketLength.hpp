// The length of a packet, decoded without the driver's own code, so that a fault in that code is noticed. The
// stand-in host, the tests and the fuzz targets use it.
#pragma once

#include <cstddef>
#include <string_view>

namespace hearthix::sim {

// Byte 1, in a multipacket bytes 1 and 2 in little-endian order; 0 while they have not all arrived.
inline std::size_t packetLength(std::string_view bytes) {
    const auto byteAt = [bytes](std::size_t offset) { return static_cast<unsigned char>(bytes[offset]); };
    const bool isMultipacket = bytes.starts_with('J') || bytes.starts_with('j');
    if (bytes.size() < (isMultipacket ? 3U : 2U))
        return 0;
    return byteAt(1) + (isMultipacket ? 256U * byteAt(2) : 0U);
}

} // namespace hearthix::sim
