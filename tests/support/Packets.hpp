// The host's side of the wire, written on purpose without the driver's own code, so that a fault there does
// not go unnoticed: builders for the packets of a host, and expected packets of the driver, which compare
// byte for byte and print as text. Lengths are cut to the size of their fields without a check, so that tests
// can send wrong ones.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hearthix::test {

struct Packet {
    std::string bytes;
    bool operator==(const Packet&) const = default;
};
using Packets = std::vector<Packet>;
using Entries = std::vector<std::pair<std::string, std::string>>;

// "J", length, flags, then for each entry its key, length and value. Without bit 128 in the flags, the
// lengths of entries are big-endian; the length of the packet never is.
std::string multipacket(const Entries& entries, unsigned char flags = 128);

// The sixteen bytes of a common message; flag 64 addresses the driver itself.
std::string commonMessage(char command, unsigned char flags = 64, char header = 'X');

// A common message with data for the gateway.
std::string rawData(std::string_view data);

// Packets of the driver: a log line, a value of a unit, its creation.
Packet log(std::string_view text, char level = 2);
Packet multi(const Entries& entries);
inline Packet setValue(const std::string& address, const std::string& value,
                       const std::string& battery = "0") {
    return multi({{"addr", address}, {"mcmd", "SetValue"}, {"Valu", value}, {"Batt", battery}});
}
Packet newUnit(const std::string& root, const std::string& suffix, bool dimmable, bool readOnly);

// The length of the packet at the start of a stream, or 0 while its header is incomplete.
std::size_t packetLength(std::string_view stream);

// Whether the packet is complete, and a multipacket's entries fill it exactly.
bool isWhole(const Packet& packet);

// All packets of a stream; the last one may be cut off.
Packets packetsIn(std::string_view stream);

std::string readable(std::string_view bytes);
std::string readable(const Packet& packet);
void PrintTo(const Packet& packet, std::ostream* out);
// The middle of a text with this head and this tail; empty when it has others.
std::string between(const std::string& text, std::string_view head, std::string_view tail);

// A document of the host: values, then named documents inside.
std::string document(const Entries& values, const Entries& children);

// The answer to "getUnits": with the given document, or with one unit for each address and foreign containers
// between them.
std::string unitsPacket(const std::string& document);
std::string unitsPacket(const std::vector<std::string>& addresses);

} // namespace hearthix::test
