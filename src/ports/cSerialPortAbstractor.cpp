#include "ports/cSerialPortAbstractor.hpp"

#include "runtime/process/Console.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

namespace {

void giveUp(const String& notice) {
    Log::send(notice, 4);
    Globals::DoQuit = true;
}

} // namespace

cSerialPortAbstractor::cSerialPortAbstractor(const String& portName) : MyPortName(portName) {
    SetupAndOpen();
}

void cSerialPortAbstractor::SetupAndOpen() {
    SerialPort = System::SerialPort(MyPortName);
    if (SerialPort.isNil()) {
        PrintError(
            concat("no serial port is named ", MyPortName,
                   "; give the path of a terminal device, such as /dev/ttyUSB0, or socket://HOST:PORT"));
        giveUp(concat("mySensors: unable to find a serial port named: ", MyPortName));
        return;
    }
    Bits = kBits8;
    Parity = kParityNone;
    Baud = kBaud115200;
    DataTerminalReady = true;
    if (Open()) {
        Flush();
        return;
    }
    PrintError(explainOpenFailure(*SerialPort, lastError()));
    giveUp(concat("mySensors: unable to open the port named: ", MyPortName));
}

void cSerialPortAbstractor::Event_DataAvailable() {
    Parent->PortDataAvailable(ReadAll());
}

void cSerialPortAbstractor::Event_Error() {
    Parent->PortError(String(), LastErrorCode());
}

void cSerialPortAbstractor::PortSendData(const String& data) {
    Write(data);
    XmitWait();
}

void cSerialPortAbstractor::PortClear() {
    Close();
    Parent = nullptr;
}

void cSerialPortAbstractor::PortFlush() {
    Flush();
    if (Globals::DebugMode)
        Log::send("port flush empty", 4);
}

} // namespace hearthix
