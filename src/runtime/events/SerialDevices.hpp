// The serial ports of the machine and of the network, by name.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

#include <system_error>

namespace hearthix {

// A terminal device, or a serial line at the far end of a TCP stream.
class SerialDevice : public Object {
public:
    explicit SerialDevice(const String& path) : path_(path) {}
    SerialDevice(const String& path, const String& host, Integer port)
        : path_(path), host_(host), port_(port) {}

    const String& path() const noexcept { return path_; }
    bool isNetwork() const noexcept { return port_ != 0; }
    const String& host() const noexcept { return host_; }
    Integer port() const noexcept { return port_; }

private:
    String path_;
    String host_;
    Integer port_ = 0;
};

namespace System {

// The port of a name, or nil. "socket://HOST:PORT" is a line on the network, an IPv6 address in brackets. Any
// other name with a slash ahead is a path, and one without is looked up in /dev, /dev/serial/by-id,
// /dev/serial/by-path and /dev/pts; only a terminal device counts. Nothing is opened: that alone would reset
// many a gateway board.
Ref<SerialDevice> SerialPort(const String& name);

} // namespace System

// Why a device can't be opened and what helps, as one sentence without its full stop; for people.
String explainOpenFailure(const SerialDevice& device, const std::error_code& error);

} // namespace hearthix
