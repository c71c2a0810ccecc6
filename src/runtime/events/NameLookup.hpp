// Looks up the addresses of a host's name without blocking.
//
// A numeric address is available at once. For a name the system's resolver can block for half a minute when
// the name server is silent, so a forked copy of this process calls it and sends the answer through a pipe.
// Cancelling a look-up ends that process; so does the end of this process. docs/architecture.md says why it
// is not a thread.
#pragma once

#include "runtime/text/String.hpp"

#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <sys/types.h>

namespace hearthix {

struct NetworkAddress {
    sockaddr_storage address;
    socklen_t length;
};

class NameLookup {
public:
    NameLookup() = default;
    NameLookup(const NameLookup&) = delete;
    NameLookup& operator=(const NameLookup&) = delete;
    ~NameLookup() { cancel(); }

    void start(const String& host, Integer port);
    void cancel();
    // Becomes readable when the answer has arrived; -1 if no look-up is in progress.
    int descriptor() const noexcept { return answer_; }
    // Reads the answer if it has arrived. Returns true as long as it has not.
    bool isPending();
    // Why there are no addresses: a code of the resolver, below zero, or of the system.
    const std::error_code& error() const noexcept { return error_; }
    // Returns and removes the addresses, in the order in which to try them.
    std::vector<NetworkAddress> takeAddresses() { return std::exchange(addresses_, {}); }

private:
    void startResolver(const std::string& host, const std::string& service);

    int answer_ = -1;
    pid_t resolver_ = -1;
    std::error_code error_;
    std::vector<NetworkAddress> addresses_;
};

} // namespace hearthix
