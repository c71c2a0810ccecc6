// Unsigned numbers as bytes, in either order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace hearthix {

// The number in at most eight bytes.
inline std::uint64_t decodeNumber(std::string_view bytes, bool littleEndian) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[littleEndian ? bytes.size() - 1 - i : i]);
        value = (value << 8U) | byte;
    }
    return value;
}

// Writes the lowest `width` bytes of a number.
inline void encodeNumber(char* target, std::size_t width, std::uint64_t value, bool littleEndian) {
    for (std::size_t i = 0; i < width; ++i) {
        target[littleEndian ? i : width - 1 - i] = static_cast<char>(static_cast<unsigned char>(value));
        value >>= 8U;
    }
}

} // namespace hearthix
