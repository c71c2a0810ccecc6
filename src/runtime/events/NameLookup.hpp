// The addresses of a host's name.
//
// A numeric address is there at once. A name is looked up by a process of its own, a copy of this one that
// does nothing else: the system's resolver can wait for a silent name server for half a minute, and there is
// no way to call it without waiting. Its answer makes the descriptor readable. Dropping a look-up under way
// ends that process.
#pragma once

#include "runtime/events/NetworkAddress.hpp"
#include "runtime/text/String.hpp"

#include <system_error>
#include <vector>

#include <sys/types.h>

namespace hearthix {

class NameLookup {
public:
    NameLookup() = default;
    NameLookup(const NameLookup&) = delete;
    NameLookup& operator=(const NameLookup&) = delete;
    ~NameLookup() { cancel(); }

    void start(const String& host, Integer port);
    void cancel();
    // Becomes readable when the answer is there; -1 while nothing is under way.
    int descriptor() const noexcept { return answer_; }
    // Takes the answer, if it is there. True while it isn't.
    bool isPending();
    // Why there are no addresses, in the resolver's own words, its codes below zero; or the system's error.
    const std::error_code& error() const noexcept { return error_; }
    // In the order in which to try them. Empty after a failure.
    std::vector<NetworkAddress> takeAddresses() { return std::move(addresses_); }

private:
    void ask(const String& host, Integer port);
    void take();

    int answer_ = -1;
    pid_t resolver_ = -1;
    std::error_code error_;
    std::vector<NetworkAddress> addresses_;
};

} // namespace hearthix
