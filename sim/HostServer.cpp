#include "sim/HostServer.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/Failure.hpp"
#include "sim/PacketLength.hpp"
#include "sim/SocketAddress.hpp"

#include <cerrno>
#include <utility>

namespace hearthix::sim {

namespace {

constexpr const char* kGreeting = "MYSENSORS:";
constexpr std::size_t kLongestGreeting = 1024;

std::size_t shortestPacket(const String& bytes) {
    return bytes.byteAt(0) == 'J' ? 4 : 2;
}

} // namespace

class HostServer::Link : public TCPSocket {
public:
    explicit Link(HostServer& server) : server_(server) {}

    String buffer;
    bool greeted = false;

    void Event_DataAvailable() override {
        buffer += ReadAll();
        server_.read(*this);
    }
    void Event_Error(const RuntimeException& error) override {
        server_.drop(LastErrorCode() == ENOTCONN ? String("it closed the link") : error.Message);
    }

private:
    bool wantsRead() const noexcept override { return !server_.stalled_ && TCPSocket::wantsRead(); }

    HostServer& server_;
};

HostServer::HostServer() : listener_(Ref<ListeningSocket>::make()) {
    listener_->accepted = [this](int descriptor) { accept(descriptor); };
}

HostServer::~HostServer() {
    listener_->Close();
    if (link_)
        link_->Close();
}

void HostServer::listen(const String& address, Integer port) {
    if (!listener_->Listen(address, port))
        throw Failure{concat("cannot listen on ", SocketAddress{address, port}.text(), ": ",
                             listener_->LastError(), "; name another address with --listen ADDRESS:PORT")};
}

bool HostServer::hasDriver() const noexcept {
    return link_ && link_->greeted;
}

void HostServer::accept(int descriptor) {
    if (link_) {
        const auto unwanted = Ref<TCPSocket>::make();
        unwanted->adopt(descriptor);
        unwanted->Close();
        noted("a second driver was refused, because one is connected");
        return;
    }
    link_ = Ref<Link>::make(*this);
    link_->adopt(descriptor);
}

void HostServer::send(std::initializer_list<Ref<cHearthixCommand>> packets) {
    if (!hasDriver())
        return;
    for (const Ref<cHearthixCommand>& packet : packets) {
        packet->RawCommonCommand = packet->GetRawCommand();
        link_->Write(packet->RawCommonCommand);
    }
    link_->Flush();
    for (const Ref<cHearthixCommand>& packet : packets)
        sent(packet);
}

void HostServer::drop(const String& reason) {
    const Ref<Link> link = std::exchange(link_, nullptr);
    if (link.isNil())
        return;
    link->Close();
    disconnected(reason);
}

void HostServer::read(Link& link) {
    const Ref<Link> keep(&link);
    while (link_ == keep && !link.buffer.empty())
        if (!(link.greeted ? takePacket(link) : takeGreeting(link)))
            return;
}

bool HostServer::takeGreeting(Link& link) {
    const Integer end = InStrB(1, link.buffer, "\r");
    const std::string_view bytes = link.buffer.view();
    const std::string_view greeting(kGreeting);
    if (!greeting.starts_with(bytes.substr(0, greeting.size())) || bytes.size() > kLongestGreeting) {
        drop("its first line is not that of a driver");
        return false;
    }
    if (end == 0)
        return false;
    const String line = LeftB(link.buffer, end - 1);
    link.buffer = MidB(link.buffer, end + 1);
    link.greeted = true;
    connected(line.cut(greeting.size()));
    return true;
}

bool HostServer::takePacket(Link& link) {
    const std::size_t length = packetLength(link.buffer.view());
    if (length == 0 && link.buffer.size() < 3)
        return false;
    if (length < shortestPacket(link.buffer)) {
        drop("it sent a packet of an impossible length, " + Str(static_cast<Integer>(length)));
        return false;
    }
    if (link.buffer.size() < length)
        return false;
    const String bytes = link.buffer.cut(0, length);
    link.buffer = link.buffer.cut(length);
    const auto packet = Ref<cHearthixCommand>::make();
    const bool isMulti = bytes.byteAt(0) == 'J';
    if (isMulti ? packet->initFromMultiPacket(bytes) : packet->InitFromCommonMessage(bytes))
        received(packet);
    else
        noted(concat("the driver sent a packet of no known type: ", LeftB(bytes, 1)));
    return true;
}

} // namespace hearthix::sim
