// Connects to a host by its name or address.
//
// The addresses of a name are tried in the resolver's order. The next attempt starts as soon as an attempt
// has failed, or kAttemptDelay after the previous one while that is still pending. The first connection wins
// and the other attempts are closed. So an address that never answers does not keep the others from being
// tried.
#pragma once

#include "runtime/events/NameLookup.hpp"

#include <cstdint>
#include <system_error>
#include <vector>

namespace hearthix {

// Sends small packets without delay and checks a silent peer from time to time.
void setStreamOptions(int descriptor);

class Connector {
public:
    static constexpr std::int64_t kAttemptDelay = 250'000'000; // nanoseconds

    Connector() = default;
    Connector(const Connector&) = delete;
    Connector& operator=(const Connector&) = delete;
    ~Connector() { cancel(); }

    // Starts the look-up or the first attempt. A receive buffer of 0 bytes selects the system's default.
    void start(const String& host, Integer port, int receiveBuffer);
    void cancel();
    // Continues without blocking. Returns the connection, a non-blocking descriptor that the caller owns, or
    // -1 if there is none yet or, with isPending false, if all attempts have failed.
    int advance();
    bool isPending() const noexcept { return isLookingUp() || !attempts_.empty(); }
    // The latest failure.
    const std::error_code& error() const noexcept { return error_; }

    // When to call advance again: as soon as the descriptor is readable during a look-up, or writable after
    // it, and at dueAt in any case.
    int descriptor() const noexcept;
    bool isLookingUp() const noexcept { return lookup_.descriptor() >= 0; }
    std::int64_t dueAt() const noexcept;

private:
    void beginNext();
    int takeWinner();

    NameLookup lookup_;
    std::vector<NetworkAddress> addresses_; // not yet tried; the next one is the last
    std::vector<int> attempts_;             // pending, the latest one last
    std::int64_t nextAt_ = 0;
    int receiveBuffer_ = 0;
    std::error_code error_;
};

} // namespace hearthix
