// The way in which the program tells that it cannot do what it was asked for.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix::sim {

// The sentence tells why, and what to do. Exit status 1.
struct Failure {
    String sentence;
};

} // namespace hearthix::sim
