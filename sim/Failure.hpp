// The two ways in which the program tells that it cannot go on.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix::sim {

// The program was called in a way that it doesn't know; the sentence tells how to. Exit status 2.
struct UsageError {
    String sentence;
};
// The program cannot do what it was asked for; the sentence tells why, and what to do. Exit status 1.
struct Failure {
    String sentence;
};

} // namespace hearthix::sim
