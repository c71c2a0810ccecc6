// A MySensors gateway as the driver sees it: on a TCP port of the system's choice, or on a pseudo-terminal
// with the kernel's own line discipline in between.
#pragma once

#include "tests/support/Stream.hpp"

#include <vector>

namespace hearthix::test {

enum class Transport { tcp, serial };

class FakeGateway {
public:
    explicit FakeGateway(Transport transport);
    // The command line that leads a driver here, with the host's place in the middle.
    std::vector<std::string> arguments(const std::string& hostPort, const std::string& id = "7") const;
    // Waits for the driver; a terminal is there from the start.
    void accept();
    void say(std::string_view bytes) { stream_.write(bytes); }
    // What the driver sends up to this line, without it.
    std::string hearUntil(std::string_view line) { return stream_.readThrough(line); }
    std::string hearToEnd() { return stream_.readToEnd(); }
    bool hasNews(std::chrono::milliseconds limit) { return stream_.hasNews(limit); }
    void stopListening() { listener_.close(); }
    void hangUp() { stream_.close(); }
    Listener& listener() { return listener_; }
    // The terminal device, and its end on this side.
    const std::string& device() const { return device_; }
    int terminal() const { return stream_.descriptor(); }

private:
    Listener listener_;
    Stream stream_;
    std::string device_;
};

} // namespace hearthix::test
