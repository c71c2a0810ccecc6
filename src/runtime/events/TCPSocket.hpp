// A TCP connection: set Address and Port, then Connect.
//
// Connect returns at once and the connection comes up in later polls; of several addresses of a name each is
// tried in turn. A name is looked up inside Connect, which waits for the system's resolver. The peer's
// closing of the connection counts as an error. Small packets aren't delayed, and keep-alive is on.
#pragma once

#include "runtime/events/StreamDevice.hpp"
#include "runtime/values/Exceptions.hpp"

#include <vector>

#include <sys/socket.h>

namespace hearthix {

class TCPSocket : public StreamDevice {
public:
    String Address;
    Integer Port = 0; // its low 16 bits count

    void Connect();
    // Takes over a connection that a listening socket has accepted.
    void adopt(int descriptor);
    bool IsConnected() const noexcept { return connected_; }
    void Close() override;

    virtual void Event_Connected() {}
    virtual void Event_DataAvailable() {}
    // The device is closed when this runs. The error's message is the system's.
    virtual void Event_Error(const RuntimeException& error) { (void)error; }

protected:
    ssize_t receive(char* bytes, std::size_t count) override;
    ssize_t transmit(const char* bytes, std::size_t count) override;
    bool shortReadDrains() const noexcept override { return true; }
    bool isOpening() const noexcept override { return !connected_; }
    void serveOpening() override;
    void dataArrived() override { Event_DataAvailable(); }
    void failed() override;

private:
    struct Candidate {
        sockaddr_storage address;
        socklen_t length;
    };

    // Starts with the next address that can be tried; false when none is left.
    bool tryNext();

    std::vector<Candidate> candidates_; // in reverse: the next one is the last
    bool connected_ = false;
};

} // namespace hearthix
