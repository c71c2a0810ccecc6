// Hashes of a table's keys: SipHash-1-3 under a secret that each process draws for itself. Keys come from
// peers, and a peer without the secret can't choose many that collide.
#pragma once

#include "runtime/text/String.hpp"

#include <cstdint>
#include <string_view>

namespace hearthix {

// The same for texts that differ in the case of ASCII letters alone.
std::uint32_t hashIgnoringCase(std::string_view text) noexcept;
std::uint32_t hashOfNumber(Integer number) noexcept;

} // namespace hearthix
