// The exception for everything that the program cannot do. It ends with exit status 1.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix::sim {

// The sentence gives the reason and a remedy.
struct Failure {
    String sentence;
};

} // namespace hearthix::sim
