#include "sim/GatewayTap.hpp"

#include "runtime/events/TCPSocket.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/Failure.hpp"

#include <utility>

namespace hearthix::sim {

namespace {

// A longer line is recorded in parts, so that the buffer stays bounded.
constexpr std::size_t kLongestLine = 65'536;

// An IPv6 address needs brackets.
String nameOf(const std::vector<String>& words) {
    if (words.size() == 1)
        return words[0];
    const bool isPlain = InStrB(1, words[0], ":") == 0;
    return concat("socket://", isPlain ? "" : "[", words[0], isPlain ? ":" : "]:", words[1]);
}

} // namespace

class GatewayTap::Line : public Serial {
public:
    explicit Line(GatewayTap& tap) : tap_(tap) { DataTerminalReady = true; }
    void Event_DataAvailable() override { tap_.carry(*this, *tap_.driver_); }
    void Event_Error() override { tap_.gatewayGone(lastError()); }

private:
    GatewayTap& tap_;
};

class GatewayTap::Link : public TCPSocket {
public:
    explicit Link(GatewayTap& tap) : tap_(tap) {}
    void Event_DataAvailable() override { tap_.carry(*this, *tap_.gateway_); }
    void Event_Error(const RuntimeException&) override { tap_.driverGone(); }

private:
    GatewayTap& tap_;
};

GatewayTap::GatewayTap(const std::vector<String>& gateway)
    : words_(gateway), gateway_(Ref<Line>::make(*this)) {
}

GatewayTap::~GatewayTap() {
    driverGone();
    if (listener_)
        listener_->Close();
    if (terminal_)
        terminal_->HangUp();
}

void GatewayTap::open(const String& recordFile) {
    recorder_.open(recordFile);
    if (words_.size() == 1)
        return openTerminal();
    listener_ = Ref<ListeningSocket>::make();
    listener_->accepted = [this](int descriptor) { accept(descriptor); };
    if (!listener_->Listen("127.0.0.1", 0))
        throw Failure{
            concat("cannot listen on 127.0.0.1: ", listener_->LastError(), "; --record needs a port there")};
}

void GatewayTap::openTerminal() {
    terminal_ = Ref<PseudoTerminal>::make();
    terminal_->opened = [this] {
        driver_ = &*terminal_;
        openGateway();
    };
    terminal_->arrived = [this] { carry(*terminal_, *gateway_); };
    terminal_->closed = [this] { driverGone(); };
    newTerminal();
}

// Closes the previous one.
void GatewayTap::newTerminal() const {
    if (!terminal_->Open())
        throw Failure{concat("cannot make a pseudo-terminal: ", terminal_->lastError().message().c_str(),
                             "; --record needs one")};
}

std::vector<String> GatewayTap::transport() const {
    if (terminal_)
        return {terminal_->path()};
    return {"127.0.0.1", Str(listener_->Port())};
}

void GatewayTap::accept(int descriptor) {
    const auto link = Ref<Link>::make(*this);
    link->adopt(descriptor);
    if (driver_ != nullptr)
        return link->Close(); // one at a time
    accepted_ = link;
    driver_ = &*link;
    openGateway();
}

// The times of all sessions count from the first one, because they are recorded one after the other.
void GatewayTap::openGateway() {
    trouble_ = unended_[0] = unended_[1] = String();
    begunAt_ = begunAt_ > 0 ? begunAt_ : clocks::monotonic();
    gateway_->SerialPort = System::SerialPort(nameOf(words_));
    if (!gateway_->Open())
        gatewayGone(gateway_->lastError());
}

void GatewayTap::carry(StreamDevice& from, StreamDevice& to) {
    const bool toDriver = &to == driver_;
    const Integer now = (clocks::monotonic() - begunAt_) / clocks::kMillisecond;
    const String bytes = from.ReadAll();
    to.Write(bytes);
    String& unended = unended_[toDriver ? 1 : 0];
    Integer start = LenB(unended) + 1; // the incomplete line has no line feed
    unended += bytes;
    while (const Integer end = InStrB(std::exchange(start, 1), unended, "\n")) {
        recorder_.note({now, toDriver, LeftB(unended, end - 1)});
        unended = MidB(unended, end + 1);
    }
    if (unended.size() > kLongestLine)
        recorder_.note({now, toDriver, std::exchange(unended, String())});
}

void GatewayTap::gatewayGone(const std::error_code& error) {
    const String reason =
        error == std::errc::not_connected ? "it closed the connection" : error.message().c_str();
    trouble_ = concat("the gateway at ", nameOf(words_), " is unavailable: ", reason);
    driverGone();
    if (terminal_)
        newTerminal();
}

void GatewayTap::driverGone() {
    driver_ = nullptr;
    gateway_->Close();
    if (accepted_)
        accepted_->Close();
}

} // namespace hearthix::sim
