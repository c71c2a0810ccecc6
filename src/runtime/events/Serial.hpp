// A serial line: assign a device and the settings, then Open.
//
// A terminal device is opened exclusively, raw, with one stop bit and no flow control; modem control lines
// are ignored. A line on the network is a TCP stream, for which the settings say nothing; one whose other end
// has vanished silently is found out within half a minute. A device that takes no byte for ten seconds
// while it is waited for counts as failed.
#pragma once

#include "runtime/events/SerialDevices.hpp"
#include "runtime/events/StreamDevice.hpp"

namespace hearthix {

class Serial : public StreamDevice {
public:
    // The codes of the settings in use; Open refuses any other.
    static constexpr Integer kBits8 = 3;
    static constexpr Integer kParityNone = 0;
    static constexpr Integer kBaud115200 = 14;

    Ref<SerialDevice> SerialPort;
    Integer Bits = kBits8;
    Integer Parity = kParityNone;
    Integer Baud = kBaud115200;
    bool DataTerminalReady = false;

    // True when the line is open. False leaves the reason in LastErrorCode. On the network it tries all
    // addresses of the name, for ten seconds in all; no events run meanwhile.
    bool Open();
    // Waits until what was written has left the machine, on the network until the system has taken it; or
    // until the device counts as failed. No events run.
    void XmitWait();

    virtual void Event_DataAvailable() {}
    // The device is closed when this runs.
    virtual void Event_Error() {}

protected:
    ssize_t receive(char* bytes, std::size_t count) override;
    ssize_t transmit(const char* bytes, std::size_t count) override;
    // A terminal hands out what it holds in pieces.
    bool shortReadDrains() const noexcept override { return isNetwork_; }
    void dataArrived() override { Event_DataAvailable(); }
    void failed() override { Event_Error(); }

private:
    std::size_t queuedBytes() const;
    void waitForProgress(bool hasTakenSome);

    bool isNetwork_ = false;
};

} // namespace hearthix
