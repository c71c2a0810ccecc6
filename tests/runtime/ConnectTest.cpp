// Connections to names, with a resolver that this program replaces.
#include "Links.hpp"
#include "runtime/events/Serial.hpp"
#include "sim/system/ListeningSocket.hpp"

#include <csignal>
#include <cstdlib>

#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/prctl.h>

namespace {

int openDescriptors() {
    int open = 0;
    for (int each = 0; each < 200; ++each)
        open += fcntl(each, F_GETFD) >= 0 ? 1 : 0;
    return open;
}

// Whether the resolver process has closed all descriptors except its pipe and ends with its parent.
bool isIsolated() {
    int signal = 0;
    return openDescriptors() == 1 && prctl(PR_GET_PDEATHSIG, &signal) == 0 && signal == SIGKILL;
}

// Loopback addresses, whose ports follow the dots of a name.
addrinfo* addressesOf(const std::string& name, std::size_t dot) {
    if (dot == std::string::npos)
        return nullptr;
    struct Entry {
        addrinfo info;
        sockaddr_in address;
    };
    auto* const entry = static_cast<Entry*>(std::calloc(1, sizeof(Entry)));
    entry->address.sin_family = AF_INET;
    entry->address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    entry->address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(&name[dot + 1])));
    entry->info.ai_addrlen = sizeof(sockaddr_in);
    entry->info.ai_addr = reinterpret_cast<sockaddr*>(&entry->address);
    entry->info.ai_next = addressesOf(name, name.find('.', dot + 1));
    return &entry->info;
}

} // namespace

extern "C" int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** found) {
    const std::string name(host);
    if (!name.starts_with("fake") || (hints->ai_flags & AI_NUMERICHOST) != 0)
        return reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"))(host, service, hints,
                                                                                         found);
    if (name == "fake-dies")
        _exit(0);
    if (name == "fake-isolated")
        return isIsolated() ? EAI_AGAIN : EAI_FAIL;
    errno = ENETDOWN;
    *found = addressesOf(name, name.find('.'));
    return *found != nullptr ? 0 : EAI_SYSTEM;
}

namespace hearthix {
namespace {

std::string portOf(int descriptor) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    EXPECT_EQ(getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size), 0);
    return '.' + std::to_string(ntohs(address.sin_port));
}

struct Target {
    Target() { EXPECT_TRUE(listener.Listen("127.0.0.1", 0)); }
    std::string port() const { return '.' + std::to_string(listener.Port()); }

    ListeningSocket listener;
};

// A port that refuses connections, and one that never answers, because its queue is full.
struct DeadPorts {
    DeadPorts() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const auto* const loopback = reinterpret_cast<const sockaddr*>(&address);
        EXPECT_EQ(bind(refusing, loopback, sizeof address), 0);
        EXPECT_EQ(bind(full, loopback, sizeof address), 0);
        EXPECT_EQ(listen(full, 0), 0);
        address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(&portOf(full)[1])));
        EXPECT_EQ(connect(queued, loopback, sizeof address), 0);
    }
    ~DeadPorts() {
        for (const int each : {refusing, full, queued})
            close(each);
    }
    std::string refused() const { return portOf(refusing); }
    std::string silent() const { return portOf(full); }

    int refusing = socket(AF_INET, SOCK_STREAM, 0);
    int full = socket(AF_INET, SOCK_STREAM, 0);
    int queued = socket(AF_INET, SOCK_STREAM, 0);
};

struct NotedLine : Serial {
    int option(int level, int name) const {
        int value = -1;
        socklen_t size = sizeof value;
        EXPECT_EQ(getsockopt(descriptor(), level, name, &value, &size), 0);
        return value;
    }
    void whileOpening() override {
        ++waits;
        Serial::whileOpening();
    }
    int waits = 0;
};

TEST(Connect, TriesAllAddressesOfANameInTheirOrder) {
    const DeadPorts dead;
    Target first, second;
    for (const auto& ports :
         {first.port() + second.port(), dead.refused() + first.port() + second.port(),
          dead.silent() + dead.silent() + first.port(), dead.silent() + dead.refused() + first.port()})
        for (const bool isLine : {false, true}) {
            const int before = openDescriptors();
            {
                int accepted = -1;
                first.listener.accepted = [&](int descriptor) { accepted = descriptor; };
                second.listener.accepted = [&](int) { ADD_FAILURE() << ports; };
                NotedSocket socket;
                NotedLine line;
                socket.Address = String("fake" + ports);
                socket.Port = 1; // the resolver above ignores it
                line.SerialPort = Ref<SerialDevice>::make("line", socket.Address, 1);
                if (isLine)
                    EXPECT_TRUE(line.Open()) << ports;
                else
                    socket.Connect();
                EXPECT_TRUE(serveUntil([&] { return accepted >= 0 && (isLine || socket.IsConnected()); }));
                EXPECT_EQ(socket.events, isLine ? "" : "c");
                close(accepted);
            }
            EXPECT_EQ(openDescriptors(), before) << ports;
        }
}

TEST(Connect, ReportsTheFailureInALaterPoll) {
    const DeadPorts dead;
    ListeningSocket listener;
    EXPECT_FALSE(listener.Listen("localhost", 0) || listener.Listen("127.0.0.1", 65536));
    EXPECT_EQ(listener.LastError(), "no IPv4 address and port");
    std::string refusals = "fake";
    for (int i = 0; i < 30; ++i) // more than are tried
        refusals += dead.refused();
    const Integer closedPort = std::atoi(&dead.refused()[1]);
    using Case = std::tuple<std::string, Integer, bool>;
    for (const auto& [address, error, byPoll] :
         {Case("127.0.0.1", ECONNREFUSED, true), Case("localhost", ECONNREFUSED, false),
          Case("", EAI_NONAME, true), Case(std::string(70, 'a'), EAI_NONAME, false), // too long for a server
          Case(refusals, ECONNREFUSED, false), Case("fake-dies", EIO, true),
          Case("fake-isolated", EAI_AGAIN, false), Case("fake-system", ENETDOWN, false)}) {
        NotedSocket socket;
        socket.Address = String(address);
        socket.Port = closedPort;
        socket.Connect();
        EXPECT_EQ(socket.events, "") << address;
        EXPECT_TRUE(serveUntil([&, polls = byPoll] {
            if (polls)
                socket.Poll();
            return !socket.events.empty();
        }));
        EXPECT_EQ(socket.events, "e") << address;
        EXPECT_EQ(socket.LastErrorCode(), error) << address;
    }
}

TEST(Connect, GivesUpASilentLineAfterTenSeconds) {
    const DeadPorts dead;
    const FakeClock clock(100 * clocks::kMillisecond);
    NotedLine line;
    line.SerialPort = Ref<SerialDevice>::make("line", String("127.0.0.1"), std::atoi(&dead.silent()[1]));
    const auto start = FakeClock::now;
    EXPECT_FALSE(line.Open());
    EXPECT_EQ(line.LastErrorCode(), ETIMEDOUT);
    EXPECT_GT(line.waits, 10);
    EXPECT_GE(FakeClock::now - start, 10 * clocks::kSecond);
    EXPECT_LT(FakeClock::now - start, 11 * clocks::kSecond);
}

TEST(Connect, DetectsALostPeerOfALine) {
    Target gateway;
    NotedLine line;
    line.SerialPort = Ref<SerialDevice>::make("line", String("127.0.0.1"), gateway.listener.Port());
    ASSERT_TRUE(line.Open());
    EXPECT_EQ(line.option(SOL_SOCKET, SO_KEEPALIVE), 1);
    using Case = std::pair<int, int>;
    for (const auto& [name, value] : {Case(TCP_KEEPIDLE, 10), Case(TCP_KEEPINTVL, 5), Case(TCP_KEEPCNT, 3),
                                      Case(TCP_USER_TIMEOUT, 25'000), Case(TCP_NODELAY, 1)})
        EXPECT_EQ(line.option(IPPROTO_TCP, name), value) << name;
}

} // namespace
} // namespace hearthix
