// A mesh of sensor nodes behind a gateway: sends and receives lines of the MySensors serial API.
//
// The mesh has no transport and no clock: its owner passes the time, in milliseconds from an arbitrary start,
// and the lines, without their line feeds. A description (MeshFile) lists the nodes. The values vary at
// random, in the same way for the same seed.
#pragma once

#include "runtime/text/String.hpp"
#include "runtime/values/Random.hpp"

#include <vector>

namespace hearthix::sim {

struct MeshChild {
    enum class Kind {
        sensor, // a number that varies between two bounds
        text,   // always the same text
        toggle, // 0 or 1, as commanded
        dimmer  // 0 to 100, as commanded
    };
    Kind kind = Kind::sensor;
    Integer id = 0;
    Integer variableType = 0;
    double low = 0;
    double high = 1;
    int decimals = 0;
    String value;
    Integer every = 0; // milliseconds between reports; 0 for none but the first
    Integer due = 0;
};

struct MeshNode {
    static constexpr Integer kNoId = 255;

    Integer id = kNoId; // kNoId until the controller assigns one
    String name;
    Integer battery = -1; // per cent; below 0 for a node on the mains
    Integer batteryEvery = 60'000;
    bool asksTime = false;
    bool asksConfig = false;
    std::vector<MeshChild> children;

    bool started = false;
    Integer batteryDue = 0;
    Integer askDue = 0; // when a node without an ID asks for one
};

struct MeshCounts {
    Integer obeyed = 0;   // set commands that a child has carried out
    Integer answered = 0; // requests for a value
    Integer versions = 0;
    Integer times = 0;
    Integer configs = 0;
    Integer ids = 0;
    Integer ignored = 0; // lines that no node understands
};

class Mesh {
public:
    explicit Mesh(std::vector<MeshNode> nodes, unsigned seed = 1);

    // The nodes start as after a power cut: presentation, questions, first values.
    void restart(Integer now);
    // The lines that the nodes send by themselves up to now.
    std::vector<String> due(Integer now);
    // The time at which due will next return lines; INT64_MAX for never.
    Integer nextDue() const;
    // The answer of the mesh to a line from the controller.
    std::vector<String> answer(const String& text, Integer now);
    // A new value of the next sensor, regardless of its schedule; empty if no node has an ID and a sensor.
    String nextReport();

    const MeshCounts& counts() const noexcept { return counts_; }
    const std::vector<MeshNode>& nodes() const noexcept { return nodes_; }

private:
    struct Line;

    void start(MeshNode& node, Integer now, std::vector<String>& lines);
    void speak(MeshNode& node, Integer now, std::vector<String>& lines);
    void reportBattery(MeshNode& node, Integer now, std::vector<String>& lines);
    String report(const MeshNode& node, const MeshChild& child) const;
    void wander(MeshChild& child);
    MeshNode* nodeOf(Integer id);
    void answerInternal(const Line& line, Integer now, std::vector<String>& lines);
    void takeId(Integer id, Integer now, std::vector<String>& lines);
    void answerChild(const Line& line, std::vector<String>& lines);

    std::vector<MeshNode> nodes_;
    Random random_;
    MeshCounts counts_;
    std::size_t nextReporter_ = 0;
};

// Creates the protocol's vocabulary unless it exists.
void ensureVocabulary();
// A number with so many decimals.
String decimalText(double number, int decimals);
// The address that a host gives the unit of a child's variable, such as 0A03.TEMP.
String unitAddress(Integer node, Integer child, Integer variableType);
// Whether the driver would use such an address, in capitals or not.
bool isUnitAddress(const String& address);

} // namespace hearthix::sim
