// Counts the system calls of a running process, from its construction to stop().
//
// The process stops at each call and runs many times slower meanwhile: nothing else is measured then. A
// thread of its own follows the process, since only the thread that attached may.
#pragma once

#include <atomic>
#include <cstddef>
#include <thread>

#include <sys/types.h>

namespace hearthix::bench {

class SystemCalls {
public:
    // Throws std::runtime_error when the system forbids tracing.
    explicit SystemCalls(pid_t process);
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;
    ~SystemCalls();

    // Calls since the start; the process runs freely again.
    double stop();

private:
    enum class State { starting, forbidden, running, stopping };

    void follow();

    pid_t process_;
    std::atomic<State> state_ = State::starting;
    std::atomic<long> stops_ = 0;
    std::thread follower_;
};

// System calls per piece of work.
template <class Work>
double systemCallsOf(pid_t process, std::size_t pieces, const Work& work) {
    SystemCalls calls(process);
    work();
    return calls.stop() / static_cast<double>(pieces);
}

} // namespace hearthix::bench
