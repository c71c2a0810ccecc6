// Random numbers. Not suitable for secrets.
#pragma once

#include "runtime/text/String.hpp"

#include <random>

namespace hearthix {

class Random {
public:
    Random() : engine_(std::random_device{}()) {}
    // Produces the same numbers in each run.
    explicit Random(unsigned seed) : engine_(seed) {}

    // A number from first to last, both included; first if the range is empty.
    Integer InRange(Integer first, Integer last) {
        return first >= last ? first : std::uniform_int_distribution<Integer>(first, last)(engine_);
    }

private:
    std::minstd_rand engine_;
};

} // namespace hearthix
