// The check of all targets. A false condition ends the process; the fuzzer reports this as a crash and keeps
// the input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace hearthix::fuzz {

inline void require(bool condition, const char* what) {
    if (condition)
        return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

} // namespace hearthix::fuzz
