// A colour of four bytes.
#pragma once

#include "runtime/text/String.hpp"

#include <cstdint>

namespace hearthix {

struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 0;

    friend bool operator==(const Color&, const Color&) = default;
};

// Only the low eight bits of each number count.
inline Color RGB(Integer red, Integer green, Integer blue, Integer alpha = 0) {
    const auto byte = [](Integer part) { return static_cast<std::uint8_t>(part & 0xFF); };
    return {byte(red), byte(green), byte(blue), byte(alpha)};
}

} // namespace hearthix
