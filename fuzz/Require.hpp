// What every target checks with. A broken condition ends the process, which the fuzzer reports as a crash and
// keeps the input of.
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
