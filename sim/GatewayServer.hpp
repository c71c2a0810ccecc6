// A gateway with a mesh behind it, for one driver at a time: on a TCP port or on a pseudo-terminal.
//
// The driver's connection starts everything anew: the mesh presents itself, the clock of the recording and of
// the planned mishaps starts at zero. On TCP nothing is sent for the first three quarters of a second: a
// driver that opens a TCP port isn't ready for data before it has finished opening, and ends when some come.
#pragma once

#include "runtime/events/TCPSocket.hpp"
#include "runtime/values/Random.hpp"
#include "sim/Alarm.hpp"
#include "sim/Mesh.hpp"
#include "sim/Recording.hpp"
#include "sim/SocketAddress.hpp"
#include "sim/system/ListeningSocket.hpp"
#include "sim/system/PseudoTerminal.hpp"

#include <functional>
#include <optional>

namespace hearthix::sim {

struct GatewaySettings {
    bool usePseudoTerminal = false;
    SocketAddress listen{"127.0.0.1", 5003};
    std::optional<bool> greet; // when a driver connects; by default on a pseudo-terminal, but for a replay
    double silentAfter = 0;    // seconds; 0 for never
    double dropAfter = 0;      // seconds; 0 for never
    bool fragment = false;
    double junk = 0; // per cent of the lines that are followed by a line of junk
    double rate = 0; // reports a second; 0 leaves them to the mesh's own schedule
    String recordFile;
    std::vector<RecordedLine> replay;
};

struct GatewayCounts {
    Integer linesIn = 0;
    Integer linesOut = 0;
    Integer junkOut = 0;
};

class GatewayServer {
public:
    GatewayServer(GatewaySettings settings, std::vector<MeshNode> nodes);
    ~GatewayServer();

    // Raises Failure when there can be no such port or file.
    void open();
    void close();
    // No reports while it is on; what the driver asks is still answered.
    void hush(bool on);

    // Mishaps, as in the settings, that come and go.
    void setFragment(bool on) { settings_.fragment = on; }
    void setJunk(double percent) { settings_.junk = percent; }
    void setSilent(bool on) { silent_ = on; }
    void drop();

    // Where a driver finds it: one word for a serial line, address and port for TCP.
    std::vector<String> transport() const;
    String where() const;
    bool hasDriver() const noexcept { return connection_ != nullptr; }
    bool hasUnsent() const noexcept { return !waiting_.empty(); }
    const Mesh& mesh() const noexcept { return mesh_; }
    const GatewayCounts& counts() const noexcept { return counts_; }

    // What a person should know.
    std::function<void(const String& text)> noted;
    // Each line, without its line feed.
    std::function<void(const String& line)> sent;
    std::function<void(const String& line)> received;

private:
    class Connection;

    void setAlarms();
    void cancelAlarms();
    void accept(int descriptor);
    void openPseudoTerminal();
    void connected(StreamDevice& connection);
    void disconnected(const String& reason);
    void begin();
    void report();
    void read(StreamDevice& connection);
    void handle(const String& line);
    void send(const std::vector<String>& lines);
    void write(const String& line, bool isJunk);
    void flushPieces();
    void reportByMesh();
    void reportByRate();
    void replayNext();
    void fallSilent();
    String junkLine();
    Integer now() const;

    GatewaySettings settings_;
    Mesh mesh_;
    Random random_;
    Recorder recorder_;
    GatewayCounts counts_;
    Ref<ListeningSocket> listener_;
    Ref<Connection> accepted_;
    Ref<PseudoTerminal> terminal_;
    StreamDevice* connection_ = nullptr; // one of the two above
    bool silent_ = false;
    bool hushed_ = false;
    Integer connectedAt_ = 0; // milliseconds of the monotonic clock
    Integer ratedAt_ = 0;     // the same clock: up to when the rate has been met
    double owed_ = 0;         // reports that the rate asks for and that were not made yet
    std::size_t replayed_ = 0;
    String unread_;
    String waiting_; // bytes that go out in pieces
    Alarm beginSoon_;
    Alarm meshDue_;
    Alarm rateDue_;
    Alarm pieceDue_;
    Alarm replayDue_;
    Alarm silenceDue_;
    Alarm dropDue_;
};

} // namespace hearthix::sim
