// A TCP connection: set Address and Port, then Connect.
//
// Connect returns at once, and the connection comes up in later polls and passes of the event loop, the
// look-up of a name included; of several addresses of a name each is tried in turn. The peer's closing of the
// connection counts as an error. Small packets aren't delayed, and keep-alive is on.
#pragma once

#include "runtime/events/NameLookup.hpp"
#include "runtime/events/StreamDevice.hpp"
#include "runtime/values/Exceptions.hpp"

#include <vector>

namespace hearthix {

class TCPSocket : public StreamDevice {
public:
    String Address;
    Integer Port = 0; // a connection to one that is no port fails

    void Connect();
    // Takes over a connection that a listening socket has accepted.
    void adopt(int descriptor);
    bool IsConnected() const noexcept { return connected_; }
    void Close() override;

    virtual void Event_Connected() {}
    virtual void Event_DataAvailable() {}
    // The device is closed when this runs. The error's message is the system's, or the resolver's.
    virtual void Event_Error(const RuntimeException& error) { (void)error; }

protected:
    ssize_t receive(char* bytes, std::size_t count) override;
    ssize_t transmit(const char* bytes, std::size_t count) override;
    bool shortReadDrains() const noexcept override { return true; }
    bool isOpening() const noexcept override { return !connected_; }
    void serveOpening() override;
    void dataArrived() override { Event_DataAvailable(); }
    void failed() override;
    // While a name is looked up it is the answer that the loop waits for.
    int descriptor() const noexcept override;
    bool wantsRead() const noexcept override { return connected_ || isLookingUp(); }
    bool wantsWrite() const noexcept override { return !isLookingUp() && StreamDevice::wantsWrite(); }

private:
    bool isLookingUp() const noexcept { return lookup_.descriptor() >= 0; }
    // Starts with the next address that can be tried, or fails with the latest error.
    void tryNext(std::error_code error);
    void takeAddresses();

    NameLookup lookup_;
    std::vector<NetworkAddress> candidates_; // in reverse: the next one is the last
    bool connected_ = false;
};

} // namespace hearthix
