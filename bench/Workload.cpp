#include "Workload.hpp"

#include <random>

namespace hearthix::bench {

namespace {

constexpr std::size_t kChildren = 255; // 0 to 254; child 255 is the node itself
constexpr std::size_t kFirstNode = 1;

std::string littleEndian(std::size_t number) {
    return {static_cast<char>(number & 0xFFU), static_cast<char>(number >> 8U)};
}

std::string entry(const std::string& key, const std::string& value) {
    return key + littleEndian(value.size()) + value;
}

std::string multipacket(const std::string& entries) {
    std::string packet = "J";
    packet += littleEndian(entries.size() + 4);
    packet += '\x80';
    return packet + entries;
}

std::string logPacket(const std::string& text) {
    std::string packet = "L";
    packet += static_cast<char>(3 + text.size());
    packet += '\x02';
    return packet + text;
}

std::string lineFor(std::size_t endpoint, const std::string& value) {
    return std::to_string(endpoint / kChildren + kFirstNode) + ";" + std::to_string(endpoint % kChildren) +
           ";1;0;0;" + value;
}

std::string hexByte(std::size_t value) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    return {kDigits[value / 16], kDigits[value % 16]};
}

std::string setValueEntries(std::size_t endpoint, const std::string& value) {
    const std::string address =
        hexByte(endpoint / kChildren + kFirstNode) + hexByte(endpoint % kChildren) + ".TEMP";
    return entry("addr", address) + entry("mcmd", "SetValue") + entry("Valu", value);
}

void add(Values& values, std::size_t endpoint, const std::string& value) {
    values.lines.add(lineFor(endpoint, value) + "\n");
    values.packets.add(multipacket(setValueEntries(endpoint, value) + entry("Batt", "0")));
}

std::string randomTemperature(std::mt19937& random) {
    const unsigned long tenths = 100 + random() % 300;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

} // namespace

void Stream::add(std::string_view piece) {
    bytes_ += piece;
    ends_.push_back(bytes_.size());
}

std::string_view Stream::first(std::size_t count) const {
    return std::string_view(bytes_).substr(0, count == 0 ? 0 : ends_.at(count - 1));
}

std::string_view Stream::piece(std::size_t index) const {
    return first(index + 1).substr(first(index).size());
}

Values randomValues(std::size_t endpoints, std::size_t count) {
    std::mt19937 random;
    Values values;
    for (std::size_t i = 0; i < count; ++i)
        add(values, random() % endpoints, randomTemperature(random));
    return values;
}

Values valuesInTurn(std::size_t endpoints, std::size_t count) {
    Values values;
    for (std::size_t i = 0; i < count; ++i)
        add(values, i % endpoints, "20.5");
    return values;
}

Values markerValue() {
    Values values;
    add(values, 0, "-273.15");
    return values;
}

Commands randomCommands(std::size_t endpoints, std::size_t count) {
    std::mt19937 random;
    Commands commands;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t endpoint = random() % endpoints;
        const std::string value = randomTemperature(random);
        const std::string line = lineFor(endpoint, value);
        commands.packets.add(multipacket(setValueEntries(endpoint, value)));
        commands.lines.add(line + "\n");
        commands.logs.add(logPacket("outgoing command (" + line + ")"));
    }
    return commands;
}

} // namespace hearthix::bench
