#include "sim/system/SignalWatch.hpp"

#include "runtime/events/EventLoop.hpp"

#include <utility>

#include <sys/signalfd.h>
#include <unistd.h>

namespace hearthix {

bool SignalWatch::Open(std::initializer_list<int> signals) {
    Close();
    sigset_t watched;
    sigemptyset(&watched);
    for (const int each : signals)
        sigaddset(&watched, each);
    descriptor_ = signalfd(-1, &watched, SFD_NONBLOCK | SFD_CLOEXEC);
    if (descriptor_ < 0)
        return false;
    sigprocmask(SIG_BLOCK, &watched, &maskBefore_);
    EventLoop::instance().add(*this);
    return true;
}

void SignalWatch::Close() {
    if (descriptor_ < 0)
        return;
    EventLoop::instance().remove(*this);
    ::close(std::exchange(descriptor_, -1));
    sigprocmask(SIG_SETMASK, &maskBefore_, nullptr);
}

void SignalWatch::serve(bool readable, bool) {
    signalfd_siginfo news{};
    while (readable && descriptor_ >= 0 && read(descriptor_, &news, sizeof news) == sizeof news)
        caught(static_cast<int>(news.ssi_signo));
}

} // namespace hearthix
