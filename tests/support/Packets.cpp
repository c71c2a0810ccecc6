#include "tests/support/Packets.hpp"

#include "sim/PacketLength.hpp"

#include <algorithm>
#include <ostream>
#include <stdexcept>

namespace hearthix::test {

namespace {

std::string number(std::size_t value, std::size_t width, bool littleEndian) {
    std::string bytes;
    for (std::size_t i = 0; i < width; ++i)
        bytes += static_cast<char>(value >> 8 * i & 255);
    if (!littleEndian)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

std::size_t byteAt(std::string_view bytes, std::size_t place) {
    return place < bytes.size() ? static_cast<unsigned char>(bytes[place]) : 0;
}

std::string asCommon(char header, std::string body) {
    body.append(body.size() < 13 ? 13 - body.size() : 0, ' ');
    body += '\r';
    return std::string{header, static_cast<char>(body.size() + 2)} + body;
}

std::string counted(const std::string& bytes) {
    return number(bytes.size(), 4, true) + bytes;
}

} // namespace

std::string multipacket(const Entries& entries, unsigned char flags) {
    std::string body;
    for (const auto& [key, value] : entries)
        body += key + number(value.size(), 2, flags >= 128) + value;
    return 'J' + number(body.size() + 4, 2, true) + static_cast<char>(flags) + body;
}

std::string commonMessage(char command, unsigned char flags, char header) {
    return asCommon(header, std::string("a\x40LX") + static_cast<char>(flags) + '0' + command + "00" +
                                std::string(3, '\0'));
}

std::string rawData(std::string_view data) {
    const char length = static_cast<char>(data.size());
    return asCommon('X', std::string("a\x40LX\x40\x30X") + length + std::string(data));
}

Packet log(std::string_view text, char level) {
    return {"L" + std::string{static_cast<char>(text.size() + 3), level} + std::string(text)};
}

Packet multi(const Entries& entries) {
    return {multipacket(entries)};
}

Packet newUnit(const std::string& root, const std::string& suffix, bool dimmable, bool readOnly) {
    const auto word = [](bool value) { return value ? "true" : "False"; };
    return multi({{"mcmd", "NewU"},
                  {"addr", root + "." + suffix},
                  {"Name", "(" + root + ") " + suffix},
                  {"Dimm", word(dimmable)},
                  {"RdNL", word(readOnly)},
                  {"List", "My Sensors"}});
}

std::size_t packetLength(std::string_view stream) {
    if (stream.size() < 3)
        return 0;
    if (stream[0] != 'L' && stream[0] != 'J')
        throw std::runtime_error("no packet starts like this: " + readable(stream.substr(0, 200)));
    return sim::packetLength(stream);
}

Packets packetsIn(std::string_view stream) {
    Packets packets;
    for (; !stream.empty(); stream.remove_prefix(packets.back().bytes.size())) {
        const std::string head = std::string(stream.substr(0, 3)) + "\1\1";
        packets.push_back({std::string(stream.substr(0, packetLength(head)))});
    }
    return packets;
}

bool isWhole(const Packet& packet) {
    const std::string_view bytes = packet.bytes;
    if (bytes.size() < 3 || bytes.size() != packetLength(bytes))
        return false;
    if (bytes[0] == 'L')
        return byteAt(bytes, 2) <= 4;
    std::size_t at = 4;
    while (at + 6 <= bytes.size())
        at += 6 + byteAt(bytes, at + 4) + 256 * byteAt(bytes, at + 5);
    return byteAt(bytes, 3) == 128 && at == bytes.size() && at > 4;
}

std::string readable(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes)
        if (c >= ' ' && c < 127)
            text += c;
        else
            text += std::string{'\\', kDigits[c >> 4 & 15], kDigits[c & 15]};
    return text;
}

std::string readable(const Packet& packet) {
    const std::string_view bytes = packet.bytes;
    if (bytes.size() < 3 || bytes[0] != 'L')
        return readable(bytes);
    return "log " + std::to_string(byteAt(bytes, 2)) + ": " + readable(bytes.substr(3));
}

std::string between(const std::string& text, std::string_view head, std::string_view tail) {
    const bool fits =
        text.size() >= head.size() + tail.size() && text.starts_with(head) && text.ends_with(tail);
    return fits ? text.substr(head.size(), text.size() - head.size() - tail.size()) : "";
}

void PrintTo(const Packet& packet, std::ostream* out) {
    *out << "\n    " << readable(packet);
}

std::string document(const Entries& values, const Entries& children) {
    std::string bytes = "KbdbAL  ";
    for (const auto& [key, value] : values)
        bytes += 'V' + counted(key) + counted(value);
    for (const auto& [name, child] : children)
        bytes += 'O' + counted(name) + child;
    return bytes + 'E';
}

std::string unitsPacket(const std::string& document) {
    return multipacket({{"mcmd", "setUnits"}, {"DATA", document}});
}

std::string unitsPacket(const std::vector<std::string>& addresses) {
    const Entries foreign{{"Address", "F000.TEMP"}};
    const Entries inner{{"unit", document(foreign, {})}};
    Entries children{{"scene", document(foreign, {})}};
    for (const std::string& address : addresses)
        children.emplace_back("unit", document({{"Name", "lamp"}, {"Address", address}}, inner));
    return unitsPacket(document(foreign, children));
}

} // namespace hearthix::test
