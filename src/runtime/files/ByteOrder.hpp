// Unsigned numbers as bytes, in either order.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace hearthix {

// Whether the low bytes of a number in memory are the very bytes that are wanted: one load or store, then.
inline bool isNativeOrder(bool littleEndian) {
    return littleEndian && std::endian::native == std::endian::little;
}

// The number in up to eight bytes.
inline std::uint64_t decodeNumber(std::string_view bytes, bool littleEndian) {
    std::uint64_t value = 0;
    if (isNativeOrder(littleEndian)) {
        std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[littleEndian ? bytes.size() - 1 - i : i]);
        value = (value << 8U) | byte;
    }
    return value;
}

// Writes the low bytes of a number, width of them.
inline void encodeNumber(char* target, std::size_t width, std::uint64_t value, bool littleEndian) {
    if (isNativeOrder(littleEndian)) {
        std::memcpy(target, &value, width);
        return;
    }
    for (std::size_t i = 0; i < width; ++i) {
        target[littleEndian ? i : width - 1 - i] = static_cast<char>(static_cast<unsigned char>(value));
        value >>= 8U;
    }
}

} // namespace hearthix
