// A minimal program that turns the same input bytes into the same output bytes as the driver. It has fixed
// buffers, allocates nothing, supports only set lines of known endpoints and SetValue commands, and does not
// check its input. It has the same arguments as the driver.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kInput = 1U << 18U;   // small enough for the processor's caches
constexpr std::size_t kOutput = 5 * kInput; // a packet is up to 4.7 times as long as its line

constexpr std::string_view kSuffixes[] = {
    "TEMP", "HUM",   "STATUS",    "PERCENT", "PRESSURE", "FORECAST", "RAIN",    "RATE",
    "WIND", "GUST",  "DIRECTION", "UV",      "WEIGHT",   "DISTANCE", "IMPEDE",  "ARM",
    "TRIP", "WATTS", "KWH",       "SCENE",   "SCENE",    "FAN",      "SPEED",   "LIGHT",
    "VAR1", "VAR2",  "VAR3",      "VAR4",    "VAR5",     "WINDOW",   "WINDOW",  "WINDOW",
    "IR",   "IR",    "FLOW",      "VOLUME",  "LOCK",     "LEVEL",    "VOLTAGE", "CURRENT",
    "RGB",  "RGBW",  "ID",        "PREFIX",  "COOL",     "HEAT"};

struct Peer {
    int descriptor = -1;
    std::array<char, kInput> in;
    std::size_t filled = 0; // bytes used in `in`
    std::array<char, kOutput> out;
    char* end = out.data(); // end of the bytes to send

    // Reads once and passes all bytes to the function, which returns the start of the incomplete rest.
    void read(const char* (*relay)(const char* at, const char* end)) {
        const ssize_t got = ::read(descriptor, in.data() + filled, kInput - filled);
        if (got <= 0)
            std::exit(0);
        const char* const limit = in.data() + filled + got;
        const char* const rest = relay(in.data(), limit);
        filled = static_cast<std::size_t>(limit - rest);
        std::memmove(in.data(), rest, filled);
    }
    void send() {
        for (const char* at = out.data(); at < end;) {
            const ssize_t sent = write(descriptor, at, static_cast<std::size_t>(end - at));
            if (sent <= 0)
                std::exit(0);
            at += sent;
        }
        end = out.data();
    }
};

Peer host;
Peer gateway;

char* put(char* out, std::string_view bytes) {
    std::memcpy(out, bytes.data(), bytes.size());
    return out + bytes.size();
}

void putNumber(char* out, std::size_t value) {
    out[0] = static_cast<char>(value);
    out[1] = static_cast<char>(value >> 8U);
}

void putHex(char* out, unsigned value) {
    out[0] = "0123456789ABCDEF"[value / 16 % 16];
    out[1] = "0123456789ABCDEF"[value % 16];
}

// Reads digits and the semicolon behind them. The line feed ends the last number.
unsigned readNumber(const char*& at) {
    unsigned value = 0;
    for (; *at >= '0' && *at <= '9'; ++at)
        value = value * 10 + static_cast<unsigned>(*at - '0');
    at += *at == ';' ? 1 : 0;
    return value;
}

char* putPacket(char* out, const char* line, const char* feed) {
    const unsigned node = readNumber(line);
    const unsigned child = readNumber(line);
    const unsigned command = readNumber(line);
    readNumber(line);
    const unsigned type = readNumber(line);
    if (command != 1 || type >= std::size(kSuffixes))
        return out;
    const std::string_view suffix = kSuffixes[type];
    const std::string_view value(line, static_cast<std::size_t>(feed - line));
    char* const start = out;
    out = put(out, "J..\x80"
                   "addr..NNCC."sv);
    putNumber(start + 8, 5 + suffix.size());
    putHex(start + 10, node);
    putHex(start + 12, child);
    out = put(out, suffix);
    out = put(out, "mcmd\x08\0SetValueValu.."sv);
    putNumber(out - 2, value.size());
    out = put(out, value);
    out = put(out, "Batt\x01\0000"sv);
    putNumber(start + 1, static_cast<std::size_t>(out - start));
    return out;
}

const char* relayLines(const char* at, const char* end) {
    char* out = host.end;
    while (const void* feed = std::memchr(at, '\n', static_cast<std::size_t>(end - at))) {
        out = putPacket(out, at, static_cast<const char*>(feed));
        at = static_cast<const char*>(feed) + 1;
    }
    host.end = out;
    return at;
}

char* putDecimal(char* out, std::size_t value) {
    return std::to_chars(out, out + 20, value).ptr;
}

std::size_t numberAt(std::string_view bytes, std::size_t at) {
    return static_cast<std::size_t>(static_cast<unsigned char>(bytes[at])) |
           static_cast<std::size_t>(static_cast<unsigned char>(bytes[at + 1])) << 8U;
}

void relayCommand(std::string_view entries) {
    std::string_view address;
    std::string_view value;
    while (entries.size() >= 6) {
        const std::string_view key = entries.substr(0, 4);
        const std::string_view text = entries.substr(6, numberAt(entries, 4));
        (key == "addr" ? address : value) = text; // the value is the last of the others
        entries.remove_prefix(6 + text.size());
    }
    unsigned root = 0;
    std::from_chars(address.data(), address.data() + 4, root, 16);
    std::size_t type = 0;
    while (type < std::size(kSuffixes) - 1 && address.substr(5) != kSuffixes[type])
        ++type;
    char* const line = gateway.end;
    char* at = put(putDecimal(line, root / 256), ";");
    at = put(putDecimal(at, root % 256), ";1;0;");
    at = put(put(putDecimal(at, type), ";"), value);
    const std::string_view text(line, static_cast<std::size_t>(at - line));
    char* const log = host.end;
    host.end = put(put(put(log, "L.\x02outgoing command ("), text), ")");
    log[1] = static_cast<char>(host.end - log);
    gateway.end = put(at, "\n");
}

const char* relayCommands(const char* at, const char* end) {
    while (end - at >= 4) {
        const std::string_view rest(at, static_cast<std::size_t>(end - at));
        const std::size_t length = numberAt(rest, 1);
        if (length < 4 || rest.size() < length)
            break;
        relayCommand(rest.substr(4, length - 4));
        at += length;
    }
    return at;
}

int connectTo(const char* address, const char* port) {
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
    inet_pton(AF_INET, address, &where.sin_addr);
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&where), sizeof where) != 0)
        std::exit(1);
    return descriptor;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 7)
        return 2;
    host.descriptor = connectTo(argv[2], argv[3]);
    gateway.descriptor = connectTo(argv[5], argv[6]);
    host.end = put(host.end, "MYSENSORS:" + std::string(argv[4]) + "\r");
    host.end =
        put(host.end, "L\x4B\x02mySensors Serial Remote Control interface version 1.2 (build 005) ready.");
    host.send();
    std::array<pollfd, 2> watch{{{host.descriptor, POLLIN, 0}, {gateway.descriptor, POLLIN, 0}}};
    while (poll(watch.data(), watch.size(), -1) > 0) {
        if (watch[0].revents != 0)
            host.read(relayCommands);
        if (watch[1].revents != 0)
            gateway.read(relayLines);
        host.send(); // the log line leaves before the command
        gateway.send();
    }
    return 0;
}
