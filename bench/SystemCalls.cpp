#include "SystemCalls.hpp"

#include <csignal>
#include <stdexcept>

#include <sys/ptrace.h>
#include <sys/wait.h>

namespace hearthix::bench {

namespace {

constexpr int kSystemCallStop = SIGTRAP | 0x80;

} // namespace

SystemCalls::SystemCalls(pid_t process) : process_(process), follower_([this] { follow(); }) {
    state_.wait(State::starting);
    if (state_ == State::forbidden) {
        follower_.join();
        throw std::runtime_error("the system does not let this program trace another one");
    }
}

SystemCalls::~SystemCalls() {
    stop();
}

double SystemCalls::stop() {
    if (follower_.joinable()) {
        state_ = State::stopping;
        kill(process_, SIGCONT); // means nothing to a running process, but stops a traced one
        follower_.join();
    }
    return static_cast<double>(stops_) / 2; // one at the entry, one at the exit
}

void SystemCalls::follow() {
    bool attached = ptrace(PTRACE_SEIZE, process_, nullptr, PTRACE_O_TRACESYSGOOD) == 0 &&
                    ptrace(PTRACE_INTERRUPT, process_, nullptr, nullptr) == 0;
    int status = 0;
    attached = attached && waitpid(process_, &status, __WALL) == process_ && WIFSTOPPED(status) &&
               ptrace(PTRACE_SYSCALL, process_, nullptr, nullptr) == 0;
    state_ = attached ? State::running : State::forbidden;
    state_.notify_all();
    while (attached && waitpid(process_, &status, __WALL) == process_ && WIFSTOPPED(status)) {
        if (WSTOPSIG(status) == kSystemCallStop)
            ++stops_;
        attached = state_ != State::stopping;
        ptrace(attached ? PTRACE_SYSCALL : PTRACE_DETACH, process_, nullptr, nullptr);
    }
}

} // namespace hearthix::bench
