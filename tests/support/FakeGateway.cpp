#include "tests/support/FakeGateway.hpp"

#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>

namespace hearthix::test {

FakeGateway::FakeGateway(Transport transport) {
    if (transport == Transport::tcp)
        return;
    Descriptor ours(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    char name[128];
    if (grantpt(ours.get()) != 0 || unlockpt(ours.get()) != 0 ||
        ptsname_r(ours.get(), name, sizeof name) != 0)
        throw std::runtime_error("no pseudo-terminal");
    device_ = name;
    stream_ = Stream(std::move(ours));
}

std::vector<std::string> FakeGateway::arguments(const std::string& hostPort, const std::string& id) const {
    if (device_.empty())
        return {"IP", "127.0.0.1", hostPort, id, "127.0.0.1", listener_.port()};
    return {device_, "127.0.0.1", hostPort, id};
}

void FakeGateway::accept() {
    if (device_.empty())
        stream_ = listener_.accept();
}

} // namespace hearthix::test
