#include "ports/cSerialPortAbstractor.hpp"

#include "runtime/process/Console.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

cSerialPortAbstractor::cSerialPortAbstractor(const String& portName, WaitHandler onWait)
    : MyPortName(portName), onWait_(onWait) {
    SetupAndOpen();
}

void cSerialPortAbstractor::SetupAndOpen() {
    SerialPort = System::SerialPort(MyPortName);
    Bits = kBits8;
    Parity = kParityNone;
    Baud = kBaud115200;
    DataTerminalReady = true;
    if (SerialPort && Open()) {
        Flush();
        return;
    }
    // A device that is not a terminal counts as not found.
    const bool isFound = SerialPort && lastError() != std::errc::inappropriate_io_control_operation;
    if (isFound)
        PrintError(explainOpenFailure(*SerialPort, lastError()));
    else
        PrintError(
            concat("no serial port is named ", MyPortName,
                   "; give the path of a terminal device, such as /dev/ttyUSB0, or socket://HOST:PORT"));
    Log::send(concat(isFound ? "mySensors: unable to open the port named: "
                             : "mySensors: unable to find a serial port named: ",
                     MyPortName),
              4);
    Globals::DoQuit = true;
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
