// The common part of a TCP connection and a serial line: bytes in, bytes out, and their events.
//
// Output. Write only buffers. The bytes leave with the next pass of the event loop, the next Poll or Flush,
// or when the buffer exceeds kSendMark. Past kSendCeiling the device fails and discards them.
//
// Input. A turn reads at most kReadBudget bytes and then runs the data event. In a pass of the event loop a
// device has one turn, and further ones until kServeTime has passed if each budget is used up. All polls in a
// pass share the budget of the latest turn. So a backlog stays in the system and does not delay other
// devices, even if each command waits for a slow serial line. A turn also reads the rest of a packet that has
// begun (missingBytes). A Poll within kDrainedTime after a read that found nothing does not read again,
// because code that logs polls three times. Inside kMostNested nested data events, Poll only writes, to limit
// the stack.
//
// Failure. The device first delivers, in turns, the bytes that arrived before the failure. Then it closes and
// runs the error event once, never inside a data event.
#pragma once

#include "runtime/events/EventSource.hpp"
#include "runtime/text/String.hpp"

#include <cstddef>
#include <string_view>
#include <system_error>

#include <sys/types.h>

namespace hearthix {

class StreamDevice : public EventSource {
public:
    static constexpr std::size_t kSendMark = std::size_t{256} * 1024;
    static constexpr std::size_t kSendCeiling = std::size_t{64} * 1024 * 1024;
    // About 30 commands, for which a serial line needs some 50 ms.
    static constexpr std::size_t kReadBudget = 1024;
    static constexpr std::int64_t kServeTime = 2'000'000; // nanoseconds, like the next one
    static constexpr std::int64_t kDrainedTime = 20'000;
    static constexpr int kMostNested = 64;

    ~StreamDevice() override;

    // Discards the bytes if the device is not open or not yet connected.
    void Write(std::string_view bytes);
    // Returns and removes all bytes received so far.
    String ReadAll(TextEncoding encoding = TextEncoding::none);
    // Sends buffered bytes, as far as the system accepts them without blocking. Runs no events.
    void Flush() { flushOutput(); }
    // Serves this device now and runs its events.
    void Poll();
    // Sends buffered bytes as Flush does, then closes. Does nothing on a closed device.
    virtual void Close();
    // The number of the latest failure: an errno, a negative code of the resolver, or ENOTCONN after the peer
    // has closed the connection.
    Integer LastErrorCode() const noexcept { return lastError_.value(); }
    const std::error_code& lastError() const noexcept { return lastError_; }

    std::size_t unsentBytes() const noexcept { return output_.size(); }

protected:
    bool isOpen() const noexcept { return open_; }
    // Opens the device with a non-blocking descriptor, which it then owns, or with -1 while there is none
    // yet.
    void attach(int descriptor);
    // Records a failure. A later serve or Poll reports it.
    void fail(const std::error_code& error);
    // For failures that are reported by a return value.
    void setLastError(const std::error_code& error) noexcept { lastError_ = error; }
    bool hasFailed() const noexcept { return static_cast<bool>(failure_); }
    // Runs the data event for bytes that were read, then reports a failure.
    void runEvents();

    // As read(2) and write(2).
    virtual ssize_t receive(char* bytes, std::size_t count) = 0;
    virtual ssize_t transmit(const char* bytes, std::size_t count) = 0;
    // Whether a read that returns fewer bytes than requested has emptied the system's buffer.
    virtual bool shortReadDrains() const noexcept = 0;
    // For streams of packets: called with all bytes in order. missingBytes returns how many bytes complete
    // the packet that has begun, or the known part of it.
    virtual void noteArrived(std::string_view bytes) { (void)bytes; }
    virtual std::size_t missingBytes() const noexcept { return 0; }
    // While a device is opening, the loop calls serveOpening instead of reading and writing.
    virtual bool isOpening() const noexcept { return false; }
    virtual void serveOpening() {}
    virtual void dataArrived() = 0;
    virtual void failed() = 0;

    // For the event loop.
    int descriptor() const noexcept override { return descriptor_; }
    bool wantsRead() const noexcept override { return !isOpening(); }
    bool wantsWrite() const noexcept override { return isOpening() || blocked_; }
    std::int64_t dueAt() const noexcept override { return hasFailed() ? 0 : INT64_MAX; }
    void serve(bool readable, bool writable) override;
    void flushOutput() override;

private:
    void readInput();
    void dropDescriptor();

    bool open_ = false;
    int descriptor_ = -1;
    std::error_code lastError_;
    std::error_code failure_;          // not yet reported
    std::size_t unreadAtFailure_ = 0;  // arrived before the failure and still to be delivered
    int nested_ = 0;                   // data events of this device in progress
    bool blocked_ = false;             // the system accepted less than the output buffer contained
    std::size_t budget_ = kReadBudget; // rest of the current turn's
    std::size_t sendAgainAt_ = kSendMark;
    std::int64_t drainedAt_ = 0; // time of the latest read that found nothing more
    String received_;
    String output_;
};

} // namespace hearthix
