// The serial ports of the machine and of the network, by name.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

#include <system_error>

namespace hearthix {

// A terminal device, or a serial line that is reached through a TCP connection.
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

// Returns the port of a name, or nil. "socket://HOST:PORT" is a line on the network, with an IPv6 address in
// brackets. A name that begins with a slash is a path. Any other name is looked up in /dev,
// /dev/serial/by-id, /dev/serial/by-path and /dev/pts. Only a character device counts. It is not opened,
// because that resets many gateway boards; so Serial::Open finds out whether it is a terminal.
Ref<SerialDevice> SerialPort(const String& name);

} // namespace System

// A sentence for people, without a full stop: why the device cannot be opened, and what to do.
String explainOpenFailure(const SerialDevice& device, const std::error_code& error);

} // namespace hearthix
