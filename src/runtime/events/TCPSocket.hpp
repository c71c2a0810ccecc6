// A TCP connection. Set Address and Port, then call Connect.
//
// Connect returns at once. Later polls and passes of the event loop look up the name and establish the
// connection; see Connector for names with several addresses. The peer's closing of the connection counts as
// an error. Small packets are sent without delay, and keep-alive is on.
#pragma once

#include "runtime/events/Connector.hpp"
#include "runtime/events/StreamDevice.hpp"
#include "runtime/values/Exceptions.hpp"

#include <algorithm>

namespace hearthix {

class TCPSocket : public StreamDevice {
public:
    String Address;
    Integer Port = 0; // a number that is not a port makes the connection fail
    // Limits what the system receives in advance, in bytes. 0 selects the system's default.
    int receiveBuffer = 0;

    void Connect();
    // Uses a connection that a listening socket has accepted.
    void adopt(int descriptor);
    bool IsConnected() const noexcept { return connected_; }
    void Close() override;

    virtual void Event_Connected() {}
    virtual void Event_DataAvailable() {}
    // Runs after the device has closed. The message is the system's or the resolver's.
    virtual void Event_Error(const RuntimeException& error) { (void)error; }

protected:
    ssize_t receive(char* bytes, std::size_t count) override;
    ssize_t transmit(const char* bytes, std::size_t count) override;
    bool shortReadDrains() const noexcept override { return true; }
    bool isOpening() const noexcept override { return !connected_; }
    void serveOpening() override;
    void dataArrived() override { Event_DataAvailable(); }
    void failed() override;

    int descriptor() const noexcept override {
        return connected_ ? StreamDevice::descriptor() : connector_.descriptor();
    }
    bool wantsRead() const noexcept override { return connected_ || connector_.isLookingUp(); }
    bool wantsWrite() const noexcept override {
        return !connector_.isLookingUp() && StreamDevice::wantsWrite();
    }
    std::int64_t dueAt() const noexcept override {
        return std::min(StreamDevice::dueAt(), connector_.dueAt());
    }

private:
    Connector connector_;
    bool connected_ = false;
};

} // namespace hearthix
