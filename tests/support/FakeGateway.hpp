// A MySensors gateway as the driver sees it: on a TCP port of the system's choice, or on a pseudo-terminal
// with the kernel's own line discipline in between.
#pragma once

#include "tests/support/Stream.hpp"

#include <cstdlib>
#include <stdexcept>
#include <vector>

#include <fcntl.h>

namespace hearthix::test {

enum class Transport { tcp, serial };

class FakeGateway : public Stream {
public:
    explicit FakeGateway(Transport transport) {
        if (transport == Transport::tcp)
            return;
        Descriptor ours(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
        char name[128];
        if (grantpt(ours.get()) != 0 || unlockpt(ours.get()) != 0 ||
            ptsname_r(ours.get(), name, sizeof name) != 0)
            throw std::runtime_error("no pseudo-terminal");
        device_ = name;
        static_cast<Stream&>(*this) = Stream(std::move(ours));
    }

    // The command line that leads a driver here.
    std::vector<std::string> arguments(const std::string& hostPort, const std::string& id = "7") const {
        if (device_.empty())
            return {"IP", "127.0.0.1", hostPort, id, "127.0.0.1", listener_.port()};
        return {device_, "127.0.0.1", hostPort, id};
    }

    // Waits for the driver; a terminal is there from the start.
    void accept() {
        if (device_.empty())
            static_cast<Stream&>(*this) = listener_.accept();
    }

    void stopListening() { listener_.close(); }
    std::string port() const { return listener_.port(); }
    const std::string& device() const { return device_; }

private:
    Listener listener_;
    std::string device_;
};

} // namespace hearthix::test
