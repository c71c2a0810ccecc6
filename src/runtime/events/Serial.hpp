// A serial line. Assign a device and the settings, then call Open.
//
// A terminal device is opened exclusively, raw, with one stop bit and no flow control; modem control lines
// are ignored. A line on the network is a TCP connection, which has no settings. A lost peer is detected
// within half a minute. A device that accepts no byte for ten seconds during XmitWait counts as failed.
#pragma once

#include "runtime/events/SerialDevices.hpp"
#include "runtime/events/StreamDevice.hpp"

namespace hearthix {

class Serial : public StreamDevice {
public:
    // The only settings that Open accepts.
    static constexpr Integer kBits8 = 3;
    static constexpr Integer kParityNone = 0;
    static constexpr Integer kBaud115200 = 14;

    Ref<SerialDevice> SerialPort;
    Integer Bits = kBits8;
    Integer Parity = kParityNone;
    Integer Baud = kBaud115200;
    bool DataTerminalReady = false;

    // Returns false, with the reason in LastErrorCode, if the line cannot be opened. On the network this
    // tries all addresses of the name for at most ten seconds and calls whileOpening meanwhile.
    bool Open();
    // Waits until the written bytes have left the machine (on the network: until the system has accepted
    // them) or until the device has failed. Runs no events.
    void XmitWait();

    virtual void Event_DataAvailable() {}
    // Runs after the device has closed.
    virtual void Event_Error() {}

protected:
    ssize_t receive(char* bytes, std::size_t count) override;
    ssize_t transmit(const char* bytes, std::size_t count) override;
    // A terminal returns its bytes in pieces.
    bool shortReadDrains() const noexcept override { return isNetwork_; }
    void dataArrived() override { Event_DataAvailable(); }
    void failed() override { Event_Error(); }
    // Called again and again while a line on the network is opened. Waits a moment; must not use this device.
    virtual void whileOpening();

private:
    int openNetworkLine(std::error_code& error);
    std::size_t queuedBytes() const;
    void waitForProgress(bool hasProgressed);

    bool isNetwork_ = false;
};

} // namespace hearthix
