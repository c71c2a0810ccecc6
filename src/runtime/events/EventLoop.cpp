#include "runtime/events/EventLoop.hpp"

#include "runtime/events/Nesting.hpp"
#include "runtime/values/Clock.hpp"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <new>

#include <poll.h>

namespace hearthix {

using clocks::kMillisecond;
using clocks::kSecond;

EventLoop& EventLoop::instance() {
    // Never destroyed, because objects that outlive main remove themselves from it.
    alignas(EventLoop) static std::byte memory[sizeof(EventLoop)];
    static EventLoop& loop = *new (memory) EventLoop;
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
    // By index, because a source may remove itself while it sends.
    for (std::size_t i = 0; i < sources_.size(); ++i)
        if (sources_[i] != nullptr)
            sources_[i]->flushOutput();
}

void EventLoop::pass(std::int64_t deadline) {
    const Nesting level(depth_);
    flushAll();
    std::erase(sources_, nullptr);
    std::erase(timers_, nullptr);
    // A handler may run the loop again, so each pass has its own copy.
    const std::vector<EventSource*> polled = sources_;
    const std::vector<pollfd> found = waitFor(polled, deadline);
    const std::int64_t now = clocks::monotonic();
    for (std::size_t i = 0; i < polled.size(); ++i) {
        const int events = found[i].revents;
        // The handler of an earlier source may have removed this one.
        if (!isKnown(polled[i]) || (events == 0 && polled[i]->dueAt() > now))
            continue;
        const Ref<EventSource> keep(polled[i]);
        keep->serve((events & ~POLLOUT) != 0, (events & (POLLOUT | POLLERR | POLLHUP)) != 0);
    }
    fireDue(now);
    flushAll();
}

// Waits until a source is ready or due, a timer is due, or the deadline has passed.
std::vector<pollfd> EventLoop::waitFor(const std::vector<EventSource*>& sources,
                                       std::int64_t deadline) const {
    std::vector<pollfd> polled;
    std::int64_t due = deadline;
    for (const EventSource* source : sources) {
        const int events = (source->wantsRead() ? POLLIN : 0) | (source->wantsWrite() ? POLLOUT : 0);
        polled.push_back({source->descriptor(), static_cast<short>(events), 0});
        due = std::min(due, source->dueAt());
    }
    for (const TimedSource* timer : timers_)
        due = std::min(due, timer->dueAt());
    const std::int64_t wait = std::max<std::int64_t>(due - clocks::monotonic(), 0);
    const timespec limit{static_cast<time_t>(wait / kSecond), static_cast<long>(wait % kSecond)};
    ppoll(polled.data(), polled.size(), &limit, nullptr);
    return polled;
}

bool EventLoop::isKnown(const EventSource* source) const {
    return std::find(sources_.begin(), sources_.end(), source) != sources_.end();
}

void EventLoop::fireDue(std::int64_t now) {
    for (std::size_t i = 0; i < timers_.size(); ++i)
        if (timers_[i] != nullptr && timers_[i]->dueAt() <= now)
            timers_[i]->fire();
}

} // namespace hearthix
