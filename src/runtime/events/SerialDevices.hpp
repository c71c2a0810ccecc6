// The serial ports of the machine, by name.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

// One terminal device of the machine.
class SerialDevice : public Object {
public:
    explicit SerialDevice(const String& path) : path_(path) {}
    const String& path() const noexcept { return path_; }

private:
    String path_;
};

namespace System {

// The port of a name, or nil. An absolute path is taken as it is; any other name is looked up in /dev,
// /dev/serial/by-id, /dev/serial/by-path and /dev/pts. Only a terminal device counts. No device is opened:
// that alone would reset many a gateway board.
Ref<SerialDevice> SerialPort(const String& name);

} // namespace System

// Why a device can't be opened and what helps, in one sentence without an end; for people.
String explainOpenFailure(const String& path, int error);

} // namespace hearthix
