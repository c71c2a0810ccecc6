// The least program that turns the same bytes into the same bytes as the driver: the physical limit that the
// driver is measured against. One loop, fixed buffers, no allocation, no logs, no rules: it knows set lines
// of known endpoints and ON, OFF and SetValue commands, and trusts its peers.
//
//   relay IP HOST-ADDRESS HOST-PORT CONNECTION-ID GATEWAY-ADDRESS GATEWAY-PORT
//   relay DEVICE HOST-ADDRESS HOST-PORT CONNECTION-ID
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr std::size_t kBuffer = 1U << 20U;

constexpr std::array<std::string_view, 46> kSuffixes{
    "TEMP", "HUM",   "STATUS",    "PERCENT", "PRESSURE", "FORECAST", "RAIN",    "RATE",
    "WIND", "GUST",  "DIRECTION", "UV",      "WEIGHT",   "DISTANCE", "IMPEDE",  "ARM",
    "TRIP", "WATTS", "KWH",       "SCENE",   "SCENE",    "FAN",      "SPEED",   "LIGHT",
    "VAR1", "VAR2",  "VAR3",      "VAR4",    "VAR5",     "WINDOW",   "WINDOW",  "WINDOW",
    "IR",   "IR",    "FLOW",      "VOLUME",  "LOCK",     "LEVEL",    "VOLTAGE", "CURRENT",
    "RGB",  "RGBW",  "ID",        "PREFIX",  "COOL",     "HEAT"};

// Bytes on their way from one peer to the other.
struct Pipe {
    std::array<char, kBuffer> in;
    std::size_t held = 0;
    std::array<char, kBuffer * 5> out; // a packet is up to 4.2 times as long as its line
    std::size_t waiting = 0;

    void put(std::string_view bytes) {
        std::memcpy(out.data() + waiting, bytes.data(), bytes.size());
        waiting += bytes.size();
    }
    void putNumber(std::size_t value) {
        const char bytes[] = {static_cast<char>(value & 0xFFU), static_cast<char>(value >> 8U)};
        put({bytes, 2});
    }
    void putEntry(std::string_view key, std::string_view value) {
        put(key);
        putNumber(value.size());
        put(value);
    }
};

Pipe toHost;
Pipe toGateway;

void hexByte(char* target, unsigned value) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    target[0] = kDigits[(value >> 4U) & 15U];
    target[1] = kDigits[value & 15U];
}

// The number up to the next semicolon, which is passed over. Digits only; what else stands there makes some
// other number.
unsigned takeNumber(const char*& at, const char* end) {
    unsigned value = 0;
    for (; at < end && *at != ';'; ++at)
        value = value * 10 + static_cast<unsigned char>(*at - '0');
    ++at;
    return value;
}

void relayLine(const char* at, const char* end) {
    const unsigned node = takeNumber(at, end);
    const unsigned child = takeNumber(at, end);
    const unsigned command = takeNumber(at, end);
    takeNumber(at, end);
    const unsigned type = takeNumber(at, end);
    if (at > end || command != 1 || type >= kSuffixes.size())
        return;
    const std::string_view suffix = kSuffixes[type];
    const std::string_view payload(at, static_cast<std::size_t>(end - at));
    char root[] = "0000.";
    hexByte(root, node);
    hexByte(root + 2, child);
    toHost.put("J");
    toHost.putNumber(4 + 6 * 4 + 5 + suffix.size() + 8 + payload.size() + 1);
    toHost.put("\x80"
               "addr");
    toHost.putNumber(5 + suffix.size());
    toHost.put({root, 5});
    toHost.put(suffix);
    toHost.putEntry("mcmd", "SetValue");
    toHost.putEntry("Valu", payload);
    toHost.putEntry("Batt", "0");
}

void relayLines() {
    const char* at = toHost.in.data();
    const char* const end = at + toHost.held;
    while (const auto* feed =
               static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)))) {
        relayLine(at, feed);
        at = feed + 1;
    }
    toHost.held = static_cast<std::size_t>(end - at);
    std::memmove(toHost.in.data(), at, toHost.held);
}

void relayCommand(std::string_view packet) {
    std::string_view address;
    std::string_view word;
    std::string_view value;
    packet.remove_prefix(4);
    while (packet.size() >= 6) {
        const std::string_view key = packet.substr(0, 4);
        const std::size_t length = static_cast<unsigned char>(packet[4]) |
                                   (static_cast<std::size_t>(static_cast<unsigned char>(packet[5])) << 8U);
        (key == "addr" ? address : key == "mcmd" ? word : value) = packet.substr(6, length);
        packet.remove_prefix(std::min(packet.size(), 6 + length));
    }
    if (address.size() < 6)
        return;
    unsigned type = 0;
    while (type < kSuffixes.size() - 1 && address.substr(5) != kSuffixes[type])
        ++type;
    unsigned node = 0;
    unsigned child = 0;
    std::from_chars(address.data(), address.data() + 2, node, 16);
    std::from_chars(address.data() + 2, address.data() + 4, child, 16);
    char line[128];
    const std::string_view payload = word == "ON" ? "1" : word == "OFF" ? "0" : value;
    const int length =
        std::snprintf(line, sizeof line, "%u;%u;1;0;%u;%.*s", node, child, type,
                      static_cast<int>(std::min<std::size_t>(payload.size(), 64)), payload.data());
    const std::string_view text(line, static_cast<std::size_t>(length));
    toGateway.put(text);
    toGateway.put("\n");
    const char header[] = {'L', static_cast<char>(3 + 19 + text.size()), 2};
    toHost.put({header, 3});
    toHost.put("outgoing command (");
    toHost.put(text);
    toHost.put(")");
}

void relayCommands() {
    std::string_view rest(toGateway.in.data(), toGateway.held);
    while (rest.size() >= 4) {
        const std::size_t length = static_cast<unsigned char>(rest[1]) |
                                   (static_cast<std::size_t>(static_cast<unsigned char>(rest[2])) << 8U);
        if (length < 4 || rest.size() < length)
            break;
        relayCommand(rest.substr(0, length));
        rest.remove_prefix(length);
    }
    std::memmove(toGateway.in.data(), rest.data(), rest.size());
    toGateway.held = rest.size();
}

// Reads once; false at the end of the stream.
bool fill(int from, Pipe& pipe) {
    const ssize_t got = read(from, pipe.in.data() + pipe.held, pipe.in.size() - pipe.held);
    if (got <= 0)
        return false;
    pipe.held += static_cast<std::size_t>(got);
    return true;
}

void drain(Pipe& pipe, int to) {
    std::size_t done = 0;
    while (done < pipe.waiting) {
        const ssize_t sent = write(to, pipe.out.data() + done, pipe.waiting - done);
        if (sent <= 0)
            std::exit(0);
        done += static_cast<std::size_t>(sent);
    }
    pipe.waiting = 0;
}

int connectTo(const char* address, const char* port) {
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
    inet_pton(AF_INET, address, &where.sin_addr);
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&where), sizeof where) != 0) {
        std::perror("relay: cannot connect");
        std::exit(1);
    }
    return descriptor;
}

int openLine(const char* path) {
    const int descriptor = open(path, O_RDWR | O_NOCTTY);
    termios settings{};
    if (descriptor < 0 || tcgetattr(descriptor, &settings) != 0) {
        std::perror("relay: cannot open the line");
        std::exit(1);
    }
    cfmakeraw(&settings);
    tcsetattr(descriptor, TCSANOW, &settings);
    return descriptor;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: relay IP HOST PORT ID GATEWAY PORT | relay DEVICE HOST PORT ID\n");
        return 2;
    }
    const int host = connectTo(argv[2], argv[3]);
    const int gateway =
        std::strcmp(argv[1], "IP") == 0 && argc >= 7 ? connectTo(argv[5], argv[6]) : openLine(argv[1]);
    toHost.put(std::string("MYSENSORS:") + argv[4] + "\r");
    drain(toHost, host);
    std::array<pollfd, 2> watch{{{host, POLLIN, 0}, {gateway, POLLIN, 0}}};
    while (poll(watch.data(), watch.size(), -1) > 0) {
        if (watch[0].revents != 0) {
            if (!fill(host, toGateway))
                return 0;
            relayCommands();
            drain(toGateway, gateway);
        }
        if (watch[1].revents != 0) {
            if (!fill(gateway, toHost))
                return 0;
            relayLines();
        }
        drain(toHost, host);
    }
    return 0;
}
