// What a TCP connection and a serial line have in common: bytes in, bytes out, and their events.
//
// Write only buffers. What is buffered leaves with the next pass of the event loop, the next Poll or Flush,
// or as soon as the buffer passes a mark. The buffer has a ceiling: past it the line counts as failed and
// what is written is dropped, so that a peer that never reads costs bounded memory.
//
// An event brings a portion of what has arrived, and what polls inside it read counts as well: a peer that
// writes without a pause neither piles up memory here nor holds up the loop, as the rest waits in the system.
// Where the stream is made of packets, a portion ends with one (missingBytes), or where the peer itself has
// paused. After an event that took long the next portion is small, so that whatever slows the events down,
// such as a serial line, lets the others have their turn often enough. Data that came before a failure are
// delivered, and their event has returned, before it is told. After a failure the device is closed, and its
// error event has run once.
//
// A Poll right after a read that has found the end of what arrived does not read again: code that logs polls
// three times in a row, and nothing arrives in between. The event loop always reads.
//
// Poll inside an event of the same device may run that event again. Past kMostNested such levels it only
// writes, so that no stream exhausts the stack; what has arrived is read further up.
//
// Inside, a failure is a std::error_code; LastErrorCode shows its number.
#pragma once

#include "runtime/events/EventSource.hpp"
#include "runtime/events/SendBuffer.hpp"
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
    static constexpr std::size_t kPortion = std::size_t{64} * 1024;
    static constexpr std::size_t kSmallPortion = 1024;
    static constexpr int kMostNested = 64;
    static constexpr std::int64_t kDryNanoseconds = 20'000;

    ~StreamDevice() override;

    // Dropped while the device is not open, or not yet connected.
    void Write(std::string_view bytes);
    // Everything received so far and not yet taken.
    String ReadAll(TextEncoding encoding = TextEncoding::none);
    // Sends what is in the write buffer, as far as the system takes it now. Runs no events.
    void Flush() { flushOutput(); }
    // Serves this device now; its events run inside.
    void Poll();
    // What is still buffered is sent as far as the system takes it at once. Closing what is closed is no
    // fault.
    virtual void Close();
    // The number of the latest failure, the system's errno or below zero the resolver's; ENOTCONN when the
    // peer closed in good order.
    Integer LastErrorCode() const noexcept { return lastError_.value(); }
    const std::error_code& lastError() const noexcept { return lastError_; }

    std::size_t unsentBytes() const noexcept { return output_.size(); }

protected:
    bool isOpen() const noexcept { return open_; }
    // Takes over an open, non-blocking descriptor; -1 stands for one that could not be had, and fail follows.
    void attach(int descriptor);
    // Notes a failure, to be told by the next serve or Poll.
    void fail(const std::error_code& error);
    // For what fails before any event.
    void setLastError(const std::error_code& error) noexcept { lastError_ = error; }
    bool hasFailed() const noexcept { return static_cast<bool>(failure_); }
    // Runs the events for what has been read and for a failure, in this order.
    void tellNews();

    // As read(2) and write(2).
    virtual ssize_t receive(char* bytes, std::size_t count) = 0;
    virtual ssize_t transmit(const char* bytes, std::size_t count) = 0;
    // Whether a read that brought less than it could have means that nothing is left.
    virtual bool shortReadDrains() const noexcept = 0;
    // For streams of packets: sees all bytes as they come, and tells how many are missing to the end of the
    // packet that has begun, as far as can be told yet.
    virtual void noteArrived(std::string_view bytes) { (void)bytes; }
    virtual std::size_t missingBytes() const noexcept { return 0; }
    // False while the device isn't ready for data; serveOpening then gets the loop's attention.
    virtual bool isOpening() const noexcept { return false; }
    virtual void serveOpening() {}
    virtual void dataArrived() = 0;
    virtual void failed() = 0;

    // The event loop's view.
    int descriptor() const noexcept override { return descriptor_; }
    bool wantsRead() const noexcept override { return !isOpening(); }
    bool wantsWrite() const noexcept override { return isOpening() || blocked_; }
    bool hasNews() const noexcept override { return hasFailed(); }
    void serve(bool readable, bool writable) override;
    void flushOutput() override;

private:
    void takeTurn(bool reads);
    void readInput();
    std::size_t arrivedBytes() const;
    void dropDescriptor();

    bool open_ = false;
    int descriptor_ = -1;
    std::error_code lastError_;
    std::error_code failure_;        // still to be told
    int nested_ = 0;                 // events of this device under way
    bool blocked_ = false;           // the system took less than there was
    std::size_t portion_ = kPortion; // of the next outermost event
    std::size_t share_ = kPortion;   // what is left of it for the one under way
    std::size_t sendAgainAt_ = kSendMark;
    std::int64_t dryAt_ = 0; // when a read last found that nothing was left
    String received_;
    SendBuffer output_;
};

} // namespace hearthix
