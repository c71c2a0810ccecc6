// Faults that a sound machine doesn't offer, put between the code under test and the system.
#pragma once

#include <cstddef>
#include <string>

namespace hearthix::testing::faults {

// The calls that make a saved file last, in their order: "sync " and "exchange ".
inline std::string calls;
// Whether the next calls fail.
inline bool failSync = false;
inline bool failExchange = false;
// The largest single allocation since it was last set to 0.
inline std::size_t largestAllocation = 0;

} // namespace hearthix::testing::faults
