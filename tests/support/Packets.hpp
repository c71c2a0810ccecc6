// The host's side of the wire, told once more and on purpose without the driver's own code: builders of what
// the host sends, and packets of what the driver sends, which compare byte for byte and print as text.
// Lengths are cut to their fields without a check, so that tests can lie.
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

// What the driver sends: log lines, the value commands of a unit, its battery level alone, its creation.
Packet log(std::string_view text, char level = 2);
Packet multi(const Entries& entries);
inline Packet setValue(const std::string& address, const std::string& value,
                       const std::string& battery = "0") {
    return multi({{"addr", address}, {"mcmd", "SetValue"}, {"Valu", value}, {"Batt", battery}});
}
inline Packet onOff(const std::string& word, const std::string& address, const std::string& battery = "0") {
    return multi({{"addr", address}, {"mcmd", word}, {"Batt", battery}});
}
inline Packet describe(const std::string& address, const std::string& text,
                       const std::string& battery = "0") {
    return multi({{"addr", address}, {"mcmd", "SetDesc"}, {"DATA", text}, {"Batt", battery}});
}
inline Packet batteryOnly(const std::string& address, const std::string& battery) {
    return multi({{"mcmd", "NoOp"}, {"addr", address}, {"Batt", battery}});
}
Packet newUnit(const std::string& root, const std::string& suffix, bool dimmable, bool readOnly);

// The length of the packet at the start of a stream, or 0 while its header isn't all there.
std::size_t packetLength(std::string_view stream);

// Whether all of it is there, down to a multipacket's entries.
bool isWhole(const Packet& packet);

// All packets of a stream; one that is cut off counts as one.
Packets packetsIn(std::string_view stream);

std::string readable(std::string_view bytes);
std::string readable(const Packet& packet);
void PrintTo(const Packet& packet, std::ostream* out);
// What stands between two texts that are all the rest; empty when they aren't.
std::string between(const std::string& text, std::string_view head, std::string_view tail);

// The host's documents: values, then named documents inside.
std::string document(const Entries& values, const Entries& children);

// The answer to "getUnits": a document as it stands, or one with a unit an address and other things between.
std::string unitsPacket(const std::string& document);
std::string unitsPacket(const std::vector<std::string>& addresses);

} // namespace hearthix::test
