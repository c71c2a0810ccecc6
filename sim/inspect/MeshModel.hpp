// What a recording shows of a mesh: its nodes with their children and values, and what went wrong on the
// line.
//
// It knows what the driver does with each line. Lines from the gateway and from the driver go into add, in
// their order. Memory is bounded: numbers that no node can have make no entries, and texts are cut.
#pragma once

#include "mysensors/cMSCommand.hpp"
#include "sim/inspect/RecordingReader.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace hearthix::sim {

// What a node says of itself: the different texts, and whether an earlier one came back after another.
struct Statement {
    std::vector<std::string> texts;
    std::size_t latest = 0; // index of the last one
    bool cameBack = false;

    void note(std::string_view text);
    // Whether more than one node says so. A new sketch has other texts, too, and never the old ones again.
    bool isOfTwo(bool hasNewSketch) const { return cameBack || (texts.size() > 1 && !hasNewSketch); }
    std::string text() const { return texts.empty() ? std::string() : texts[latest]; }
};

// Values of one type of one child, and the host's commands to it.
struct Variable {
    Integer values = 0;
    Integer line = 0; // of the first value
    std::string first;
    std::string last;
    std::optional<double> lowest; // of the values that are numbers
    std::optional<double> highest;
    bool isNearJunk = false;
    bool isMeasured = false; // a type that nodes report by themselves
    Integer commands = 0;    // set messages and requests of the host
    Integer echoes = 0;      // of these, confirmed by an echo
    Integer answers = 0;     // of these, followed by a value
    bool isAwaited = false;
};

struct Child {
    Integer presentations = 0;
    Statement types;
    std::string description;
    Integer line = 0; // of the first presentation
    Integer at = -1;
    std::map<Integer, Variable> variables; // by type

    bool hasValue() const;
};

// The times between the reports of a node that reports by itself, from one second on.
struct Rhythm {
    Integer count = 0, sum = 0, longest = 0;
    Integer last = -1;

    void note(Integer at);
};

struct Node {
    Integer messages = 0;
    Integer presentations = 0; // of the node itself
    Integer lastLine = 0;
    Integer lastAt = -1;
    Statement sketch, version, library;
    std::optional<Integer> battery;
    std::map<Integer, Child> children;
    Rhythm rhythm;
    bool isKnownToDriver = false; // since the recording began
    bool getsFirmware = false;    // over the air
    // From the radio log.
    Integer sent = 0, failed = 0;
    Integer lostParents = 0;
    bool isSearching = false;

    bool hasUnit() const;
};

// A line that the driver accepts although it is no message that a mesh can send.
struct DamagedLine {
    Integer number = 0;
    std::string text;
    std::string address; // of the unit that the driver makes for it; empty for none
};

// An ID that the driver has assigned.
struct Assignment {
    Integer times = 0;
    Integer first = 0, latest = 0; // lines
    Integer at = -1;
    Integer child = -1; // by which the request and its answer belong together
    bool isInUse = false;
};

class MeshModel {
public:
    static constexpr std::size_t kMostDamaged = 50;

    MeshModel();
    void add(const TracedLine& line);
    // A program opened the gateway's line: what was before is another session.
    void opened();
    // The silence before the end, which no line of the gateway ends. A line of the driver may.
    Integer silenceAtEnd() const { return gatewayAt_ < 0 ? 0 : lastAt - gatewayAt_; }

    std::map<Integer, Node> nodes; // 0 is the gateway
    Integer fromGateway = 0, fromDriver = 0;
    Integer firstAt = -1, lastAt = -1;
    bool isLoose = false;
    Integer good = 0;                          // lines from the gateway that are messages
    Integer malformed = 0, firstMalformed = 0; // those that the driver does not accept
    std::string malformedText;                 // the first of them
    Integer bytes = 0, nuls = 0, junk = 0;     // from the gateway; NULs are junk, too
    Integer junkAtStart = 0;                   // of the junk, before the first message
    std::vector<DamagedLine> damaged;
    Integer damagedCount = 0;
    Integer starts = 0, restarts = 0, firstRestart = 0; // of the gateway
    Integer logLines = 0, radioLines = 0, unknownRadioLines = 0, radioFailures = 0;
    std::vector<std::string> logTexts; // the first ones that are not from the radio
    struct {
        Integer over10 = 0, over20 = 0, longest = 0, longestLine = 0;
        Integer late = 0; // of up to 20 s, those that a prompt answer to the driver did not end
    } silences;
    struct {
        Integer versions = 0, times = 0, configurations = 0, others = 0;
    } driverLines;
    std::map<Integer, Assignment> assignments;
    Integer idRequests = 0, openIdRequests = 0, lastIdRequest = 0;
    std::map<std::string, Integer> fatalBatteries; // addresses of children, and lines
    Integer dropped = 0;                           // values of types that were too many to keep

private:
    void addFromGateway(const TracedLine& line, std::string_view text);
    void addFromDriver(const TracedLine& line, std::string_view text);
    void addUnreadable(const TracedLine& line, std::string_view text);
    void addDamaged(const TracedLine& line, std::string_view text, const cMSCommand& command);
    void addMessage(const TracedLine& line, const cMSCommand& command);
    void addPresentation(Node& node, const TracedLine& line, const cMSCommand& command);
    void addValue(Node& node, const TracedLine& line, const cMSCommand& command);
    void addInternal(Node& node, const TracedLine& line, const cMSCommand& command);
    void addLog(Node& node, const cMSCommand& command);
    void addStart(const TracedLine& line);
    void addAssignment(const TracedLine& line, const cMSCommand& command);
    void measureSilence(const TracedLine& line);
    void noteJunk(Integer number);
    Variable* variableOf(Node& node, Integer child, Integer type);

    Integer variables_ = 0;
    Integer junkLine_ = -100;
    std::vector<std::pair<Integer, Variable*>> newest_; // the last new variables and their lines
    Integer openedAt_ = -1;
    bool nodesSpoke_ = false; // since the gateway's last start
    Integer gatewayAt_ = -1;
    Integer askedAt_ = -1; // the driver's question after that
};

// A text of at most so many bytes, with dots behind when it was cut.
std::string shortened(std::string_view text, std::size_t longest = 60);

} // namespace hearthix::sim
