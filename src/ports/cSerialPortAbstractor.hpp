// A gateway on a serial line: 115200 baud, 8 data bits, no parity, one stop bit, DTR raised; or on a network
// line, which is named socket://HOST:PORT and may speak from the start.
//
// The constructor opens the line; a line that can't be found or opened leaves a closed port, a line in the
// log and the quit flag. Every send waits until the bytes have left.
#pragma once

#include "ports/iAbstractPort.hpp"
#include "runtime/events/Serial.hpp"

namespace hearthix {

class cSerialPortAbstractor : public Serial, public iAbstractPort {
public:
    explicit cSerialPortAbstractor(const String& portName);

    Ref<iAbstractPortReceiver> Parent;
    String MyPortName;

    void Event_DataAvailable() override;
    void Event_Error() override;
    void PortSetParent(const Ref<iAbstractPortReceiver>& receiver) override { Parent = receiver; }
    void PortSendData(const String& data) override;
    bool PortOpen() override { return Open(); }
    void PortClose() override { Close(); }
    void PortClear() override;
    // Works on the write side: nothing is read.
    void PortFlush() override;
    void PortPoll() override { Poll(); }
    void portXmitWait() { XmitWait(); }
    void PortXmitWait() override { portXmitWait(); }
    void SetupAndOpen();
};

} // namespace hearthix
