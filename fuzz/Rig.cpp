#include "fuzz/Rig.hpp"

#include "endpoints/cMSEndpoint.hpp"
#include "gateway/cPingTimer.hpp"
#include "hostlink/cHearthixCommand.hpp"
#include "mysensors/VarTypeConverter.hpp"
#include "runtime/events/EventLoop.hpp"
#include "runtime/values/Clock.hpp"
#include "shell/log/Globals.hpp"

#include <array>

#include <sys/socket.h>
#include <unistd.h>

namespace hearthix::fuzz {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kStart = 1'700'000'000 * kSecond;

std::int64_t present = kStart;

} // namespace

Rig::Rig(const Ref<cHearthixDeviceSocket>& socket, const Ref<cMySensors>& driver)
    : port(Ref<WatchedPort>::make()) {
    std::array<int, 2> ends{};
    require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0,
            "the system can create a socket pair");
    host_ = ends[0];
    socket->adopt(ends[1]);
    present = kStart;
    clocks::replaceWallClock([] { return present; });
    if (mySensors::varTypeConverter.isNil())
        mySensors::createVarTypeConverter();
    HearthixSupport::HearthixSocket = socket;
    HearthixSupport::logToHost();
    mySensors::AddressIndex = Ref<mySensors::AddressTable>::make();
    Globals::gAbstractedPort = port;
    Globals::gMySensors = driver;
}

Rig::~Rig() {
    // A child number with the low byte 255 gives the address of the node itself. Such an endpoint is an entry
    // of its own table, which is a cycle of references.
    for (Integer i = 0; i < mySensors::AddressIndex->Count(); ++i)
        mySensors::AddressIndex->ValueAt(i).objectAs<cMSEndpoint>()->subUnits = nullptr;
    mySensors::AddressIndex = nullptr;
    mySensors::gPingTimer = nullptr;
    Globals::gMySensors = nullptr;
    Globals::gAbstractedPort = nullptr;
    HearthixSupport::HearthixSocket = nullptr;
    HearthixSupport::gSignalStrength = 0;
    Globals::DebugMode = false;
    Globals::DoQuit = false;
    close(host_);
    // The loop removes the entries of destroyed sources when it runs.
    EventLoop::instance().run(0);
}

void Rig::hostWrites(std::string_view bytes) const {
    const ssize_t written = send(host_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    require(written == static_cast<ssize_t>(bytes.size()), "the driver has read the earlier bytes");
}

void Rig::hostReads() {
    static std::array<char, 65536> buffer;
    bool more = true;
    while (more) {
        HearthixSupport::HearthixSocket->Flush();
        const ssize_t got = recv(host_, buffer.data(), buffer.size(), 0);
        more = got > 0;
        if (more)
            received_.append(buffer.data(), static_cast<std::size_t>(got));
    }
    require(HearthixSupport::HearthixSocket->unsentBytes() == 0,
            "the driver has sent everything to a host that reads");
}

void Rig::serve() {
    EventLoop::instance().run(0);
    hostReads();
}

test::Packets Rig::packetsToHost() {
    hostReads();
    test::Packets packets = test::packetsIn(received_);
    for (const test::Packet& packet : packets)
        require(test::isWhole(packet), "the length in a packet to the host is its size");
    return packets;
}

void Rig::pass(std::int64_t seconds) {
    present += seconds * kSecond;
}

Input::Input(const std::uint8_t* data, std::size_t size) : stream(reinterpret_cast<const char*>(data), size) {
    control = stream.substr(0, stream.find('\n'));
    stream.remove_prefix(std::min(control.size() + 1, stream.size()));
}

} // namespace hearthix::fuzz
