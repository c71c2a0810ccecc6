#include "runtime/events/EventLoop.hpp"

#include "runtime/values/Clock.hpp"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <new>

#include <poll.h>

namespace hearthix {

namespace {

using clocks::kMillisecond;
using clocks::kSecond;

} // namespace

EventLoop& EventLoop::instance() {
    // Never destroyed: objects that outlive main remove themselves from it.
    alignas(EventLoop) static std::byte place[sizeof(EventLoop)];
    static EventLoop& loop = *new (place) EventLoop;
    return loop;
}

void EventLoop::add(EventSource& source) {
    if (std::find(sources_.begin(), sources_.end(), &source) == sources_.end())
        sources_.push_back(&source);
}

void EventLoop::remove(EventSource& source) {
    std::replace(sources_.begin(), sources_.end(), &source, static_cast<EventSource*>(nullptr));
}

void EventLoop::add(TimedSource& timer) {
    if (std::find(timers_.begin(), timers_.end(), &timer) == timers_.end())
        timers_.push_back(&timer);
}

void EventLoop::remove(TimedSource& timer) {
    std::replace(timers_.begin(), timers_.end(), &timer, static_cast<TimedSource*>(nullptr));
}

void EventLoop::run(std::int64_t milliseconds) {
    const std::int64_t start = clocks::monotonic();
    const std::int64_t deadline =
        start + std::clamp<std::int64_t>(milliseconds, 0, 1'000'000'000) * kMillisecond;
    do {
        pass(deadline);
    } while (clocks::monotonic() < deadline);
}

void EventLoop::flushAll() {
    // By index: sending may make a source remove itself.
    for (std::size_t i = 0; i < sources_.size(); ++i)
        if (sources_[i] != nullptr)
            sources_[i]->flushOutput();
}

std::int64_t EventLoop::nextDue(std::int64_t deadline) const {
    for (const TimedSource* timer : timers_)
        if (timer != nullptr)
            deadline = std::min(deadline, timer->dueAt());
    return deadline;
}

void EventLoop::pass(std::int64_t deadline) {
    flushAll();
    std::erase(sources_, nullptr);
    std::erase(timers_, nullptr);
    // A handler may run the loop again, so each pass has lists of its own.
    const std::vector<EventSource*> asked = sources_;
    const std::vector<pollfd> found = waitFor(asked, deadline);
    const std::int64_t now = clocks::monotonic();
    for (std::size_t i = 0; i < asked.size(); ++i)
        if (isKnown(asked[i])) // the handler of an earlier one may have closed it
            serve(*asked[i], found[i].revents);
    fireDue(now);
    flushAll();
}

// Asks what each source wants, and waits until the system has it for one of them, or a moment is due.
std::vector<pollfd> EventLoop::waitFor(const std::vector<EventSource*>& sources,
                                       std::int64_t deadline) const {
    std::vector<pollfd> wanted;
    bool hasNews = false;
    for (const EventSource* source : sources) {
        const int events = (source->wantsRead() ? POLLIN : 0) | (source->wantsWrite() ? POLLOUT : 0);
        wanted.push_back({source->descriptor(), static_cast<short>(events), 0});
        hasNews = hasNews || source->hasNews();
    }
    const std::int64_t wait =
        hasNews ? 0 : std::max<std::int64_t>(nextDue(deadline) - clocks::monotonic(), 0);
    const timespec limit{static_cast<time_t>(wait / kSecond), static_cast<long>(wait % kSecond)};
    ppoll(wanted.data(), wanted.size(), &limit, nullptr);
    return wanted;
}

bool EventLoop::isKnown(const EventSource* source) const {
    return std::find(sources_.begin(), sources_.end(), source) != sources_.end();
}

void EventLoop::serve(EventSource& source, int found) {
    if (found == 0 && !source.hasNews())
        return;
    const Ref<EventSource> keep(&source);
    source.serve((found & ~POLLOUT) != 0, (found & (POLLOUT | POLLERR | POLLHUP)) != 0);
}

void EventLoop::fireDue(std::int64_t now) {
    for (std::size_t i = 0; i < timers_.size(); ++i)
        if (timers_[i] != nullptr && timers_[i]->dueAt() <= now)
            timers_[i]->fire();
}

} // namespace hearthix
