#include "tests/support/Packets.hpp"

#include <algorithm>
#include <ostream>
#include <stdexcept>

namespace hearthix::test {

namespace {

constexpr unsigned char kLittleEndian = 128;

std::string sixteenBits(std::size_t value, bool littleEndian) {
    const char low = static_cast<char>(value & 255);
    const char high = static_cast<char>(value >> 8 & 255);
    return littleEndian ? std::string{low, high} : std::string{high, low};
}

std::size_t byteAt(std::string_view bytes, std::size_t place) {
    return place < bytes.size() ? static_cast<unsigned char>(bytes[place]) : 0;
}

std::string asCommon(char header, std::string body) {
    body.append(body.size() < 13 ? 13 - body.size() : 0, ' ');
    body += '\r';
    return std::string{header, static_cast<char>(body.size() + 2)} + body;
}

std::string readableEntries(std::string_view entries) {
    std::string text;
    while (entries.size() >= 6) {
        const std::size_t length = byteAt(entries, 4) + 256 * byteAt(entries, 5);
        text += ' ' + readable(entries.substr(0, 4)) + '=' + readable(entries.substr(6, length));
        entries.remove_prefix(std::min(entries.size(), 6 + length));
    }
    return text + (entries.empty() ? "" : " rest " + readable(entries));
}

} // namespace

std::string multipacket(const Entries& entries, unsigned char flags) {
    std::string body;
    for (const auto& [key, value] : entries)
        body += key + sixteenBits(value.size(), (flags & kLittleEndian) != 0) + value;
    return 'J' + sixteenBits(body.size() + 4, true) + static_cast<char>(flags) + body;
}

std::string commonMessage(char command, unsigned char flags, char header) {
    return asCommon(header, std::string("a\x40LX") + static_cast<char>(flags) + '0' + command + "00" +
                                std::string(3, '\0'));
}

std::string rawData(std::string_view data) {
    return asCommon('X', "a\x40LX\x40"
                         "0X" +
                             std::string(1, static_cast<char>(data.size())) + std::string(data));
}

Packet log(std::string_view text, char level) {
    return {"L" + std::string{static_cast<char>(text.size() + 3), level} + std::string(text)};
}

Packet multi(const Entries& entries) {
    return {multipacket(entries)};
}

Packet setValue(const std::string& address, const std::string& value, const std::string& battery) {
    return multi({{"addr", address}, {"mcmd", "SetValue"}, {"Valu", value}, {"Batt", battery}});
}

Packet onOff(const std::string& word, const std::string& address, const std::string& battery) {
    return multi({{"addr", address}, {"mcmd", word}, {"Batt", battery}});
}

Packet describe(const std::string& address, const std::string& text, const std::string& battery) {
    return multi({{"addr", address}, {"mcmd", "SetDesc"}, {"DATA", text}, {"Batt", battery}});
}

Packet batteryOnly(const std::string& address, const std::string& battery) {
    return multi({{"mcmd", "NoOp"}, {"addr", address}, {"Batt", battery}});
}

Packet newUnit(const std::string& root, const std::string& suffix, bool dimmable, bool readOnly) {
    return multi({{"mcmd", "NewU"},
                  {"addr", root + "." + suffix},
                  {"Name", "(" + root + ") " + suffix},
                  {"Dimm", dimmable ? "true" : "False"},
                  {"RdNL", readOnly ? "true" : "False"},
                  {"List", "My Sensors"}});
}

std::size_t packetLength(std::string_view stream) {
    if (stream.size() < 3)
        return 0;
    if (stream[0] == 'L')
        return byteAt(stream, 1);
    if (stream[0] == 'J')
        return byteAt(stream, 1) + 256 * byteAt(stream, 2);
    throw std::runtime_error("no packet starts like this: " + readable(stream.substr(0, 200)));
}

std::string readable(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        const unsigned char value = static_cast<unsigned char>(c);
        if (value >= ' ' && value < 127)
            text += c;
        else
            text += std::string{'\\', kDigits[value >> 4], kDigits[value & 15]};
    }
    return text;
}

std::string readable(const Packet& packet) {
    const std::string_view bytes = packet.bytes;
    if (bytes.size() >= 3 && bytes[0] == 'L')
        return "log " + std::to_string(byteAt(bytes, 2)) + ": " + readable(bytes.substr(3));
    return readable(bytes.substr(0, 4)) +
           readableEntries(bytes.substr(std::min<std::size_t>(4, bytes.size())));
}

void PrintTo(const Packet& packet, std::ostream* out) {
    *out << "\n    " << readable(packet);
}

} // namespace hearthix::test
