#include "runtime/events/StreamDevice.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/events/EventLoop.hpp"
#include "runtime/events/Nesting.hpp"
#include "runtime/values/Clock.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

namespace hearthix {

namespace {

bool isTemporary(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

// What the system has received and the device has not read yet.
std::size_t arrivedBytes(int descriptor) {
    int count = 0;
    return ioctl(descriptor, FIONREAD, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
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
    output_ = String();
    blocked_ = false;
    sendAgainAt_ = kSendMark;
}

void StreamDevice::Close() {
    flushOutput();
    dropDescriptor();
    failure_.clear();
}

void StreamDevice::fail(const std::error_code& error) {
    if (!failure_) {
        failure_ = error;
        unreadAtFailure_ = arrivedBytes(descriptor_);
    }
    output_ = String();
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
        const std::string_view waiting = output_.view();
        const ssize_t sent = transmit(waiting.data(), waiting.size());
        if (sent > 0) {
            output_.removeFront(static_cast<std::size_t>(sent));
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

void StreamDevice::readInput() {
    // One buffer for all devices: it is empty between two reads.
    static std::array<char, kReadBudget> buffer;
    while (isOpen()) {
        const std::size_t wanted = std::min(buffer.size(), budget_ > 0 ? budget_ : missingBytes());
        if (wanted == 0)
            return;
        const ssize_t got = receive(buffer.data(), wanted);
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 0)
            fail(std::make_error_code(std::errc::not_connected));
        else if (got < 0 && !isTemporary(errno))
            fail(systemError());
        const std::string_view bytes(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        received_.append(bytes);
        noteArrived(bytes);
        budget_ -= std::min(budget_, bytes.size());
        unreadAtFailure_ -= std::min(unreadAtFailure_, bytes.size());
        if (got > 0 && (!shortReadDrains() || bytes.size() == wanted))
            continue;
        unreadAtFailure_ = 0;
        drainedAt_ = clocks::monotonic();
        return;
    }
}

void StreamDevice::runEvents() {
    const Nesting level(nested_);
    if (!received_.empty())
        dataArrived();
    // An outer data event may still be handling what arrived before the failure.
    if (!failure_ || unreadAtFailure_ > 0 || !isOpen() || nested_ > 1)
        return;
    lastError_ = std::exchange(failure_, {});
    dropDescriptor();
    failed();
}

void StreamDevice::serve(bool readable, bool writable) {
    if (isOpening()) {
        serveOpening();
        if (!isOpen() || isOpening())
            return;
    }
    if (writable)
        flushOutput();
    const bool isOutermost = nested_ == 0;
    const clocks::Nanoseconds end = clocks::monotonic() + kServeTime;
    do {
        if (isOutermost)
            budget_ = kReadBudget;
        if (readable || failure_)
            readInput();
        runEvents();
    } while (isOutermost && budget_ == 0 && isOpen() && clocks::monotonic() < end);
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
    if (!EventLoop::instance().isServing() && nested_ == 0)
        budget_ = kReadBudget;
    if (clocks::monotonic() - drainedAt_ >= kDrainedTime)
        readInput();
    runEvents();
}

} // namespace hearthix
