#include "sim/GatewayServer.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/Failure.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace hearthix::sim {

namespace {

constexpr Integer kSettleMilliseconds = 750;
constexpr Integer kPieceMilliseconds = 2;
constexpr Integer kRateMilliseconds = 10;
constexpr Integer kLongestPiece = 8;
constexpr const char* kReady = "0;255;3;0;14;Gateway startup complete.";
constexpr const char* kVersionRequest = "0;0;3;0;2;";

// With a rate, the children have no schedule. The nodes still present themselves, ask, and report their
// batteries.
std::vector<MeshNode> scheduled(std::vector<MeshNode> nodes, double rate) {
    if (rate <= 0)
        return nodes;
    for (MeshNode& node : nodes)
        for (MeshChild& child : node.children)
            child.every = 0;
    return nodes;
}

} // namespace

class GatewayServer::Connection : public TCPSocket {
public:
    explicit Connection(GatewayServer& server) : server_(server) {}
    void Event_DataAvailable() override { server_.read(*this); }
    void Event_Error(const RuntimeException& error) override {
        server_.disconnected(LastErrorCode() == ENOTCONN ? String("it closed the connection")
                                                         : error.Message);
    }

private:
    GatewayServer& server_;
};

GatewayServer::GatewayServer(GatewaySettings settings, std::vector<MeshNode> nodes)
    : settings_(std::move(settings)),
      mesh_(scheduled(std::move(nodes), settings_.rate), std::random_device{}()) {
    setAlarms();
}

GatewayServer::~GatewayServer() {
    close();
}

void GatewayServer::setAlarms() {
    beginSoon_.action = [this] { begin(); };
    meshDue_.action = [this] { reportByMesh(); };
    rateDue_.action = [this] { reportByRate(); };
    pieceDue_.action = [this] { flushPieces(); };
    replayDue_.action = [this] { replayNext(); };
    silenceDue_.action = [this] { fallSilent(); };
    dropDue_.action = [this] { drop(); };
}

void GatewayServer::cancelAlarms() {
    for (Alarm* alarm : {&beginSoon_, &meshDue_, &rateDue_, &pieceDue_, &replayDue_, &silenceDue_, &dropDue_})
        alarm->cancel();
}

Integer GatewayServer::now() const {
    return clocks::monotonic() / 1'000'000;
}

void GatewayServer::open() {
    if (!settings_.recordFile.empty())
        recorder_.open(settings_.recordFile);
    if (settings_.usePseudoTerminal) {
        openPseudoTerminal();
        return;
    }
    listener_ = Ref<ListeningSocket>::make();
    listener_->accepted = [this](int descriptor) { accept(descriptor); };
    if (!listener_->Listen(settings_.listen.host, settings_.listen.port))
        throw Failure{concat("cannot listen on ", settings_.listen.text(), ": ", listener_->LastError(),
                             "; name another address with --tcp ADDRESS:PORT")};
}

void GatewayServer::openPseudoTerminal() {
    terminal_ = Ref<PseudoTerminal>::make();
    terminal_->opened = [this] { connected(*terminal_); };
    terminal_->arrived = [this] { read(*terminal_); };
    terminal_->closed = [this] { disconnected("the device was closed"); };
    if (!terminal_->Open())
        throw Failure{concat(
            "cannot make a pseudo-terminal: ", std::strerror(static_cast<int>(terminal_->LastErrorCode())),
            "; use --tcp ADDRESS:PORT instead")};
}

void GatewayServer::close() {
    cancelAlarms();
    connection_ = nullptr;
    if (listener_)
        listener_->Close();
    if (accepted_)
        accepted_->Close();
    if (terminal_)
        terminal_->HangUp();
}

std::vector<String> GatewayServer::transport() const {
    if (terminal_)
        return {terminal_->path()};
    return {settings_.listen.host, Str(listener_->Port())};
}

String GatewayServer::where() const {
    const std::vector<String> words = transport();
    return words.size() == 1 ? words[0] : concat(words[0], ":", words[1]);
}

void GatewayServer::accept(int descriptor) {
    if (connection_ != nullptr) {
        const auto unwanted = Ref<TCPSocket>::make();
        unwanted->adopt(descriptor);
        unwanted->Close();
        noted("a second driver was refused, because one is connected");
        return;
    }
    accepted_ = Ref<Connection>::make(*this);
    accepted_->adopt(descriptor);
    connected(*accepted_);
}

void GatewayServer::connected(StreamDevice& connection) {
    connection_ = &connection;
    connectedAt_ = now();
    silent_ = false;
    owed_ = 0;
    replayed_ = 0;
    unread_ = waiting_ = String();
    noted("driver connected");
    if (settings_.silentAfter > 0)
        silenceDue_.setSeconds(settings_.silentAfter);
    if (settings_.dropAfter > 0)
        dropDue_.setSeconds(settings_.dropAfter);
    if (settings_.greet.value_or(settings_.usePseudoTerminal && settings_.replay.empty()))
        write(kReady, false);
    beginSoon_.setIn(settings_.usePseudoTerminal ? 0 : kSettleMilliseconds);
}

void GatewayServer::disconnected(const String& reason) {
    connection_ = nullptr;
    cancelAlarms();
    noted(concat("driver disconnected: ", reason));
}

void GatewayServer::begin() {
    if (!settings_.replay.empty()) {
        replayNext();
        return;
    }
    mesh_.restart(now());
    report();
}

void GatewayServer::report() {
    if (hushed_ || connection_ == nullptr || beginSoon_.isSet())
        return;
    reportByMesh();
    ratedAt_ = now();
    if (settings_.rate > 0)
        rateDue_.setIn(kRateMilliseconds);
}

void GatewayServer::hush(bool on) {
    hushed_ = on;
    if (!on)
        return report();
    meshDue_.cancel();
    rateDue_.cancel();
    replayDue_.cancel();
}

void GatewayServer::reportByMesh() {
    if (hushed_)
        return;
    send(mesh_.due(now()));
    const Integer next = mesh_.nextDue();
    if (next != INT64_MAX && !hushed_)
        meshDue_.setIn(next - now());
}

void GatewayServer::reportByRate() {
    const Integer elapsed = now() - ratedAt_;
    ratedAt_ += elapsed;
    owed_ += settings_.rate * static_cast<double>(elapsed) / 1000;
    std::vector<String> lines;
    const auto due = static_cast<Integer>(owed_);
    owed_ -= static_cast<double>(due);
    for (Integer i = 0; i < due; ++i)
        if (const String line = mesh_.nextReport(); !line.empty())
            lines.push_back(line);
    send(lines);
    rateDue_.setIn(kRateMilliseconds);
}

void GatewayServer::replayNext() {
    const std::vector<RecordedLine>& lines = settings_.replay;
    const Integer elapsed = now() - connectedAt_;
    for (; replayed_ < lines.size() && lines[replayed_].at <= elapsed; ++replayed_)
        if (lines[replayed_].toDriver)
            write(lines[replayed_].text, false);
    if (replayed_ < lines.size())
        replayDue_.setIn(lines[replayed_].at - elapsed);
    else
        noted("the recording has ended");
}

void GatewayServer::fallSilent() {
    silent_ = true;
    noted("silent from now on");
}

void GatewayServer::drop() {
    if (terminal_) {
        terminal_->HangUp();
        disconnected("the gateway hung up, as requested");
        openPseudoTerminal();
        noted(concat("the gateway is now ", where()));
        return;
    }
    accepted_->Close();
    disconnected("the gateway ended the connection, as requested");
}

void GatewayServer::read(StreamDevice& connection) {
    unread_ += connection.ReadAll();
    while (const Integer end = InStrB(1, unread_, "\n")) {
        const String line = LeftB(unread_, end - 1);
        unread_ = MidB(unread_, end + 1);
        handle(line);
    }
}

void GatewayServer::handle(const String& line) {
    ++counts_.linesIn;
    recorder_.note({now() - connectedAt_, false, line});
    if (received)
        received(line);
    // The recording contains the answers of its nodes. The gateway itself still reports its version.
    if (settings_.replay.empty() || line == kVersionRequest)
        send(mesh_.answer(line, now()));
}

void GatewayServer::send(const std::vector<String>& lines) {
    for (const String& line : lines) {
        write(line, false);
        if (settings_.junk > 0 && static_cast<double>(random_.InRange(0, 9'999)) < settings_.junk * 100)
            write(junkLine(), true);
    }
}

void GatewayServer::write(const String& line, bool isJunk) {
    if (connection_ == nullptr || silent_)
        return;
    ++(isJunk ? counts_.junkOut : counts_.linesOut);
    recorder_.note({now() - connectedAt_, true, line});
    if (sent && !isJunk)
        sent(line);
    if (!settings_.fragment && waiting_.empty()) {
        connection_->Write(line + "\n");
        return;
    }
    waiting_ += line + "\n";
    if (!pieceDue_.isSet())
        pieceDue_.setIn(kPieceMilliseconds);
}

// Sends one to eight bytes, and more when the backlog is long, so that it does not grow.
void GatewayServer::flushPieces() {
    const Integer piece = random_.InRange(1, kLongestPiece) + LenB(waiting_) / 256;
    const Integer size = settings_.fragment ? piece : LenB(waiting_);
    if (connection_ != nullptr) {
        connection_->Write(LeftB(waiting_, size));
        connection_->Flush();
    }
    waiting_ = MidB(waiting_, size + 1);
    if (!waiting_.empty())
        pieceDue_.setIn(kPieceMilliseconds);
}

// A message has more fields.
String GatewayServer::junkLine() {
    String line;
    Integer separators = 4;
    for (Integer length = random_.InRange(0, 40); length > 0; --length) {
        Integer byte = random_.InRange(0, 255);
        if (byte == '\n' || (byte == ';' && separators-- <= 0))
            byte = '#';
        line += ChrB(byte);
    }
    return line;
}

} // namespace hearthix::sim
