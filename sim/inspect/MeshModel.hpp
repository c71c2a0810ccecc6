// The content of a recording: the nodes of the mesh with their children and values, and the faults on the
// line.
//
// It interprets each line as the driver does. Pass the lines from the gateway and from the driver to add, in
// their order. Memory is bounded: impossible node numbers create no entries, and texts are cut.
#pragma once

#include "mysensors/cMSCommand.hpp"
#include "sim/inspect/RecordingReader.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace hearthix::sim {

// One property that a node reports about itself: its different texts, and whether an earlier text returned.
struct Statement {
    std::vector<std::string> texts;
    std::size_t latest = 0; // index of the last one
    bool cameBack = false;

    void note(std::string_view text);
    // Whether several nodes seem to report it. A new sketch also changes the text, but never back to an
    // earlier one.
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
    bool isMeasured = false; // of a type that nodes report without a command
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

// The intervals between the reports of a node. Intervals below one second are ignored.
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

// A line that the driver accepts although no mesh can send it.
struct DamagedLine {
    Integer number = 0;
    std::string text;
    std::string address; // of the unit that the driver creates for it; empty for none
};

// An ID that the driver has assigned.
struct Assignment {
    Integer times = 0;
    Integer first = 0, latest = 0; // lines
    Integer at = -1;
    Integer child = -1; // equal in a request and its answer
    bool isInUse = false;
};

class MeshModel {
public:
    static constexpr std::size_t kMostDamaged = 50;

    MeshModel();
    void add(const TracedLine& line);
    // A program has opened the gateway's line, which starts a new session.
    void opened();
    // Milliseconds from the last line of the gateway to the end of the recording.
    Integer silenceAtEnd() const { return gatewayAt_ < 0 ? 0 : lastAt - gatewayAt_; }

    std::map<Integer, Node> nodes; // 0 is the gateway
    Integer fromGateway = 0, fromDriver = 0;
    Integer firstAt = -1, lastAt = -1;
    bool isLoose = false;
    Integer good = 0;                          // lines from the gateway that are messages
    Integer malformed = 0, firstMalformed = 0; // lines that the driver does not accept
    std::string malformedText;                 // the first of these lines
    Integer bytes = 0, nuls = 0, junk = 0;     // from the gateway; NULs are junk, too
    Integer junkAtStart = 0;                   // junk before the first message
    std::vector<DamagedLine> damaged;
    Integer damagedCount = 0;
    Integer starts = 0, restarts = 0, firstRestart = 0; // of the gateway
    Integer logLines = 0, radioLines = 0, unknownRadioLines = 0, radioFailures = 0;
    std::vector<std::string> logTexts; // the first log texts that are not from the radio
    struct {
        Integer over10 = 0, over20 = 0, longest = 0, longestLine = 0;
        Integer late = 0; // up to 20 s, and not ended by a prompt answer to the driver
    } silences;
    struct {
        Integer versions = 0, times = 0, configurations = 0, others = 0;
    } driverLines;
    std::map<Integer, Assignment> assignments;
    Integer idRequests = 0, openIdRequests = 0, lastIdRequest = 0;
    std::map<std::string, Integer> fatalBatteries; // the first line by address of the child
    Integer dropped = 0; // values that were not stored, because there were too many types

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
    std::vector<std::pair<Integer, Variable*>> newest_; // the latest new variables, with their lines
    Integer openedAt_ = -1;
    bool nodesSpoke_ = false; // since the latest start of the gateway
    Integer gatewayAt_ = -1;
    Integer askedAt_ = -1; // when the driver asked after that
};

// At most so many bytes of a text, followed by dots if it was cut.
std::string shortened(std::string_view text, std::size_t longest = 60);

} // namespace hearthix::sim
