#include "tests/support/FakeHost.hpp"

#include <stdexcept>

namespace hearthix::test {

std::string FakeHost::accept() {
    constexpr std::string_view kGreeting = "MYSENSORS:";
    stream_ = listener_.accept();
    std::string line = stream_.readThrough("\r");
    if (!line.starts_with(kGreeting))
        throw std::runtime_error("no opening line: " + readable(line));
    return line.substr(kGreeting.size());
}

Packet FakeHost::next() {
    std::size_t length = 0;
    while ((length = packetLength(stream_.pending())) == 0 || stream_.pending().size() < length)
        stream_.await();
    return {stream_.read(length)};
}

Packets FakeHost::until(const Packet& last) {
    Packets packets;
    for (Packet packet = next(); packet != last; packet = next())
        packets.push_back(std::move(packet));
    return packets;
}

Packets FakeHost::untilEnd() {
    Packets packets;
    const std::string bytes = stream_.readToEnd();
    for (std::string_view rest = bytes; !rest.empty();) {
        const std::size_t length = packetLength(rest);
        if (length == 0 || length > rest.size())
            throw std::runtime_error("the last packet is cut: " + readable(rest));
        packets.push_back({std::string(rest.substr(0, length))});
        rest.remove_prefix(length);
    }
    return packets;
}

} // namespace hearthix::test
