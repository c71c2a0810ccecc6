// The host's side of the wire, written down once more and on purpose without the driver's own code: what the
// host sends as builders of whole packets, what the driver sends as packets that compare byte for byte and
// print as text. Lengths and 16-bit numbers are cut to their fields without a check, so that tests can lie.
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

// "J", length, flags, then key, length and value an entry. Flags without bit 128 turn the entries' lengths
// big-endian; the packet's own length never is.
std::string multipacket(const Entries& entries, unsigned char flags = 128);

// The sixteen bytes of a common message; flag 64 addresses the driver itself.
std::string commonMessage(char command, unsigned char flags = 64, char header = 'X');

// A common message whose data the driver passes to the gateway.
std::string rawData(std::string_view data);

// What the driver sends.
Packet log(std::string_view text, char level = 2);
Packet multi(const Entries& entries);

// The value command of a unit, and the report of its battery level alone.
Packet setValue(const std::string& address, const std::string& value, const std::string& battery = "0");
Packet onOff(const std::string& word, const std::string& address, const std::string& battery = "0");
Packet describe(const std::string& address, const std::string& text, const std::string& battery = "0");
Packet batteryOnly(const std::string& address, const std::string& battery);
Packet newUnit(const std::string& root, const std::string& suffix, bool dimmable, bool readOnly);

// The bytes of the first packet's length, or 0 while the header isn't there.
std::size_t packetLength(std::string_view stream);

std::string readable(std::string_view bytes);
std::string readable(const Packet& packet);
void PrintTo(const Packet& packet, std::ostream* out);

} // namespace hearthix::test
