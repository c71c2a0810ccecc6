#include "sim/GatewayTap.hpp"

#include "runtime/events/TCPSocket.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/Failure.hpp"

#include <utility>

namespace hearthix::sim {

namespace {

// A longer one is no line of a gateway's; it is cut, lest it grow for ever.
constexpr std::size_t kLongestLine = 65'536;

} // namespace

class GatewayTap::Line : public Serial {
public:
    explicit Line(GatewayTap& tap) : tap_(tap) { DataTerminalReady = true; }
    void Event_DataAvailable() override { tap_.carry(*this, true); }
    void Event_Error() override { tap_.gatewayGone(lastError()); }

private:
    GatewayTap& tap_;
};

class GatewayTap::Link : public TCPSocket {
public:
    Link(GatewayTap& tap, bool isGateway) : tap_(tap), isGateway_(isGateway) {}
    void Event_Connected() override { tap_.gatewayReady(); }
    void Event_DataAvailable() override { tap_.carry(*this, isGateway_); }
    void Event_Error(const RuntimeException&) override {
        isGateway_ ? tap_.gatewayGone(lastError()) : tap_.driverGone();
    }

private:
    GatewayTap& tap_;
    bool isGateway_;
};

GatewayTap::GatewayTap(const std::vector<String>& gateway)
    : words_(gateway), line_(Ref<Line>::make(*this)), link_(Ref<Link>::make(*this, true)) {
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
        throw Failure{concat("cannot listen on 127.0.0.1: ", listener_->LastError(),
                             "; without --record no such port is needed")};
}

void GatewayTap::openTerminal() {
    terminal_ = Ref<PseudoTerminal>::make();
    terminal_->opened = [this] { openLine(); };
    terminal_->arrived = [this] { carry(*terminal_, false); };
    terminal_->closed = [this] { driverGone(); };
    newTerminal();
}

// Ends the one before.
void GatewayTap::newTerminal() const {
    if (!terminal_->Open())
        throw Failure{concat("cannot make a pseudo-terminal: ", terminal_->lastError().message().c_str(),
                             "; without --record none is needed")};
}

std::vector<String> GatewayTap::transport() const {
    if (terminal_)
        return {terminal_->path()};
    return {"127.0.0.1", Str(listener_->Port())};
}

// A second session goes on in the time of the first, as its lines stand behind.
void GatewayTap::begin() {
    begunAt_ = begunAt_ > 0 ? begunAt_ : clocks::monotonic();
}

void GatewayTap::openLine() {
    begin();
    line_->SerialPort = System::SerialPort(words_[0]);
    line_->Open() ? gatewayReady() : gatewayGone(line_->lastError());
}

void GatewayTap::accept(int descriptor) {
    const auto driver = Ref<Link>::make(*this, false);
    driver->adopt(descriptor);
    if (driver_)
        return driver->Close(); // one at a time
    driver_ = driver;
    begin();
    link_ = Ref<Link>::make(*this, true);
    link_->Address = words_[0];
    link_->Port = ValInteger(words_[1]);
    link_->Connect();
}

void GatewayTap::gatewayReady() {
    isReady_ = true;
    trouble_ = String();
    (terminal_ ? static_cast<StreamDevice&>(*line_) : *link_).Write(std::exchange(held_, String()));
}

void GatewayTap::carry(StreamDevice& from, bool toDriver) {
    const String bytes = from.ReadAll();
    record(bytes, toDriver);
    if (toDriver)
        (terminal_ ? static_cast<StreamDevice&>(*terminal_) : *driver_).Write(bytes);
    else if (isReady_)
        (terminal_ ? static_cast<StreamDevice&>(*line_) : *link_).Write(bytes);
    else
        held_ += bytes;
}

void GatewayTap::record(const String& bytes, bool toDriver) {
    const Integer now = (clocks::monotonic() - begunAt_) / clocks::kMillisecond;
    String& unended = unended_[toDriver ? 1 : 0];
    Integer from = LenB(unended) + 1; // what was held has no line feed
    unended += bytes;
    while (const Integer end = InStrB(std::exchange(from, 1), unended, "\n")) {
        recorder_.note({now, toDriver, LeftB(unended, end - 1)});
        unended = MidB(unended, end + 1);
    }
    if (unended.size() > kLongestLine)
        recorder_.note({now, toDriver, std::exchange(unended, String())});
}

void GatewayTap::gatewayGone(const std::error_code& error) {
    const String reason =
        error == std::errc::not_connected ? "it closed the connection" : error.message().c_str();
    trouble_ = concat("the gateway at ", words_[0], words_.size() > 1 ? ":" : "",
                      words_.size() > 1 ? words_[1] : String(), " can't be had: ", reason);
    driverGone();
    if (terminal_)
        newTerminal();
}

void GatewayTap::driverGone() {
    isReady_ = false;
    held_ = unended_[0] = unended_[1] = String();
    line_->Close();
    link_->Close();
    if (driver_)
        std::exchange(driver_, nullptr)->Close();
}

} // namespace hearthix::sim
