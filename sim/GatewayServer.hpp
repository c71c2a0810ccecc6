// A gateway with a mesh behind it, for one driver at a time, on a TCP port or on a pseudo-terminal.
//
// Each connection of a driver starts from the beginning: the mesh presents itself, and the times of the
// recording and of the planned mishaps count from zero. On TCP, nothing is sent for the first 750
// milliseconds: a driver that receives data before it has finished opening a TCP port ends.
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
    std::optional<bool> greet; // by default on a pseudo-terminal, except in a replay
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

    // Raises Failure when the port or the file cannot be opened.
    void open();
    void close();
    // While this is on, nodes send no reports. Requests of the driver are still answered.
    void hush(bool on);

    // Switches the mishaps of the settings on and off.
    void setFragment(bool on) { settings_.fragment = on; }
    void setJunk(double percent) { settings_.junk = percent; }
    void setSilent(bool on) { silent_ = on; }
    void drop();

    // The driver's arguments for this gateway: one word for a serial line, address and port for TCP.
    std::vector<String> transport() const;
    String where() const;
    bool hasDriver() const noexcept { return connection_ != nullptr; }
    bool hasUnsent() const noexcept { return !waiting_.empty(); }
    const Mesh& mesh() const noexcept { return mesh_; }
    const GatewayCounts& counts() const noexcept { return counts_; }

    // A sentence for the user.
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
    StreamDevice* connection_ = nullptr; // one of the two members above
    bool silent_ = false;
    bool hushed_ = false;
    Integer connectedAt_ = 0; // milliseconds of the monotonic clock
    Integer ratedAt_ = 0;     // of the same clock: the time up to which owed_ counts
    double owed_ = 0;         // reports that the rate requires and that were not sent yet
    std::size_t replayed_ = 0;
    String unread_;
    String waiting_; // bytes to be sent in pieces
    Alarm beginSoon_;
    Alarm meshDue_;
    Alarm rateDue_;
    Alarm pieceDue_;
    Alarm replayDue_;
    Alarm silenceDue_;
    Alarm dropDue_;
};

} // namespace hearthix::sim
