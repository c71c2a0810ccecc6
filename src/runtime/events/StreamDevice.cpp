#include "runtime/events/StreamDevice.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/events/EventLoop.hpp"
#include "runtime/values/Clock.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

namespace hearthix {

namespace {

// Counts a level of nesting for as long as a call is under way, however it ends.
class Nesting {
public:
    explicit Nesting(int& level) : level_(level) { ++level_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    ~Nesting() { --level_; }

private:
    int& level_;
};

// An event that took so long makes the next portion small.
constexpr clocks::Nanoseconds kLongEvent = 20 * clocks::kMillisecond;

bool isTemporary(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

StreamDevice::~StreamDevice() {
    dropDescriptor();
}

void StreamDevice::attach(int descriptor) {
    dropDescriptor();
    open_ = true;
    descriptor_ = descriptor;
    failure_.clear();
    received_ = String();
    EventLoop::instance().add(*this);
}

void StreamDevice::dropDescriptor() {
    if (!open_)
        return;
    open_ = false;
    EventLoop::instance().remove(*this);
    if (descriptor_ >= 0)
        ::close(std::exchange(descriptor_, -1));
    output_.clear();
    blocked_ = false;
    sendAgainAt_ = kSendMark;
}

void StreamDevice::Close() {
    flushOutput();
    dropDescriptor();
    failure_.clear();
}

void StreamDevice::fail(const std::error_code& error) {
    if (!failure_)
        failure_ = error;
    output_.clear();
    blocked_ = false;
}

void StreamDevice::Write(std::string_view bytes) {
    if (!isOpen() || isOpening() || failure_)
        return;
    if (output_.size() + bytes.size() > kSendCeiling) {
        fail(std::make_error_code(std::errc::no_buffer_space));
        return;
    }
    output_.append(bytes);
    if (output_.size() >= sendAgainAt_)
        flushOutput();
}

String StreamDevice::ReadAll(TextEncoding encoding) {
    String all = std::exchange(received_, String());
    all.setEncoding(encoding);
    return all;
}

void StreamDevice::flushOutput() {
    if (!isOpen() || isOpening())
        return;
    blocked_ = false;
    while (!output_.empty()) {
        const std::string_view waiting = output_.front();
        const ssize_t sent = transmit(waiting.data(), waiting.size());
        if (sent > 0) {
            output_.consume(static_cast<std::size_t>(sent));
            continue;
        }
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent == 0 || isTemporary(errno))
            blocked_ = true;
        else
            fail(systemError());
        break;
    }
    sendAgainAt_ = output_.size() + kSendMark;
}

std::size_t StreamDevice::arrivedBytes() const {
    int count = 0;
    return ioctl(descriptor_, FIONREAD, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
}

void StreamDevice::readInput() {
    // One buffer for the whole process, as only the bytes that came are kept.
    static std::array<char, kPortion> buffer;
    // What came before a failure belongs to the event before it.
    if (failure_)
        share_ = std::max({share_, kPortion, arrivedBytes()});
    while (isOpen()) {
        const std::size_t wanted = std::min(buffer.size(), share_ > 0 ? share_ : missingBytes());
        if (wanted == 0)
            return;
        const ssize_t got = receive(buffer.data(), wanted);
        if (got > 0) {
            const std::string_view bytes(buffer.data(), static_cast<std::size_t>(got));
            received_.append(bytes);
            noteArrived(bytes);
            share_ -= std::min(share_, bytes.size());
            if (!shortReadDrains() || bytes.size() == wanted)
                continue;
            dryAt_ = clocks::monotonic();
            return;
        }
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 0)
            fail(std::make_error_code(std::errc::not_connected));
        else if (isTemporary(errno))
            dryAt_ = clocks::monotonic();
        else
            fail(systemError());
        return;
    }
}

void StreamDevice::tellNews() {
    const Nesting level(nested_);
    if (!received_.empty())
        dataArrived();
    // Further out, an event may still be at work on what came before the failure.
    if (!failure_ || !isOpen() || nested_ > 1)
        return;
    lastError_ = std::exchange(failure_, {});
    dropDescriptor();
    failed();
}

// Reads and runs the events, the outermost one of this device or one inside it.
void StreamDevice::takeTurn(bool reads) {
    const bool isOutermost = nested_ == 0;
    const clocks::Nanoseconds start = isOutermost ? clocks::monotonic() : 0;
    if (isOutermost)
        share_ = portion_;
    if (reads)
        readInput();
    tellNews();
    if (isOutermost)
        portion_ = clocks::monotonic() - start > kLongEvent ? kSmallPortion : kPortion;
}

void StreamDevice::serve(bool readable, bool writable) {
    if (isOpening()) {
        if (readable || writable || failure_)
            serveOpening();
        if (!isOpen() || isOpening())
            return;
    }
    if (writable)
        flushOutput();
    takeTurn(readable || failure_);
}

void StreamDevice::Poll() {
    const Ref<StreamDevice> keep(this);
    if (!isOpen())
        return;
    if (isOpening()) {
        serveOpening();
        if (!isOpen() || isOpening())
            return;
    }
    flushOutput();
    if (nested_ >= kMostNested)
        return;
    takeTurn(clocks::monotonic() - dryAt_ >= kDryNanoseconds);
}

} // namespace hearthix
