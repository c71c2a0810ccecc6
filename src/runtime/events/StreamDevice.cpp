#include "runtime/events/StreamDevice.hpp"

#include "runtime/events/EventLoop.hpp"
#include "runtime/values/Clock.hpp"

#include <algorithm>
#include <cerrno>
#include <memory>
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

constexpr std::size_t kReadSize = std::size_t{256} * 1024;

// Reads go through one buffer for the whole process, and only the bytes that came are kept.
char* readBuffer() {
    static const std::unique_ptr<char[]> buffer(new char[kReadSize]);
    return buffer.get();
}

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
    failure_ = 0;
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
    failure_ = 0;
}

void StreamDevice::fail(int error) {
    if (failure_ == 0)
        failure_ = error;
    output_.clear();
    blocked_ = false;
}

void StreamDevice::Write(std::string_view bytes) {
    if (!isOpen() || isOpening() || failure_ != 0)
        return;
    if (output_.size() + bytes.size() > kSendCeiling) {
        fail(ENOBUFS);
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
            fail(errno);
        break;
    }
    sendAgainAt_ = output_.size() + kSendMark;
}

std::size_t StreamDevice::arrivedBytes() const {
    int count = 0;
    return ioctl(descriptor_, FIONREAD, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
}

void StreamDevice::readInput() {
    char* buffer = readBuffer();
    // What came ahead of a failure belongs into the event ahead of it.
    std::size_t left = failure_ == 0 ? mostPerEvent_ : kAll;
    while (isOpen() && left > 0) {
        const std::size_t wanted = std::min(kReadSize, left);
        const ssize_t got = receive(buffer, wanted);
        if (got > 0) {
            const auto count = static_cast<std::size_t>(got);
            received_.append(std::string_view(buffer, count));
            if (shortReadDrains() && count < wanted) {
                dryAt_ = clocks::monotonic();
                return;
            }
            // All is what has arrived by the second read.
            left = left == kAll ? std::max(arrivedBytes(), leastFurtherRead()) : left - count;
            continue;
        }
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 0)
            fail(ENOTCONN);
        else if (isTemporary(errno))
            dryAt_ = clocks::monotonic();
        else
            fail(errno);
        return;
    }
}

void StreamDevice::tellNews() {
    const Nesting level(nested_);
    if (!received_.empty())
        dataArrived();
    // Further out, an event may still be at work on what came ahead of the failure.
    if (failure_ == 0 || !isOpen() || nested_ > 1)
        return;
    lastError_ = std::exchange(failure_, 0);
    dropDescriptor();
    failed();
}

void StreamDevice::serve(bool readable, bool writable) {
    if (isOpening()) {
        if (readable || writable || failure_ != 0)
            serveOpening();
        if (!isOpen() || isOpening())
            return;
    }
    if (writable)
        flushOutput();
    if (readable || failure_ != 0)
        readInput();
    tellNews();
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
    if (clocks::monotonic() - dryAt_ >= kDryNanoseconds)
        readInput();
    tellNews();
}

} // namespace hearthix
