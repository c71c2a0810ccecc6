// A gateway on a serial line: 115200 baud, 8 data bits, no parity, one stop bit, DTR raised; or on a network
// line, which is named socket://HOST:PORT and may send data from the start.
//
// The constructor opens the line. If it fails, it logs a line, sets DoQuit and leaves the port closed. Every
// send waits until the bytes have left.
#pragma once

#include "ports/iAbstractPort.hpp"
#include "runtime/events/Serial.hpp"

namespace hearthix {

class cSerialPortAbstractor : public Serial, public iAbstractPort {
public:
    // Called again and again while a network line is opened. It waits a moment and may run the host's events.
    using WaitHandler = void (*)();

    explicit cSerialPortAbstractor(const String& portName, WaitHandler onWait = nullptr);

    Ref<iAbstractPortReceiver> Parent;
    String MyPortName;

    void Event_DataAvailable() override;
    void Event_Error() override;
    void PortSetParent(const Ref<iAbstractPortReceiver>& receiver) override { Parent = receiver; }
    void PortSendData(const String& data) override;
    bool PortOpen() override { return Open(); }
    void PortClose() override { Close(); }
    void PortClear() override;
    // Sends buffered output; reads nothing.
    void PortFlush() override;
    void PortPoll() override { Poll(); }
    void portXmitWait() { XmitWait(); }
    void PortXmitWait() override { portXmitWait(); }
    void SetupAndOpen();

protected:
    void whileOpening() override { onWait_ != nullptr ? onWait_() : Serial::whileOpening(); }

private:
    WaitHandler onWait_;
};

} // namespace hearthix
