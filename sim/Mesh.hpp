// A mesh of sensor nodes, as it looks from behind its gateway: lines of the MySensors serial API, out and in.
//
// The mesh knows no transport and no clock: whoever drives it tells the time, in milliseconds from an
// arbitrary start, and carries the lines. Lines come without their line feed. A description (MeshFile) says
// what nodes there are; the values wander at random, in the same way for the same seed.
#pragma once

#include "runtime/text/String.hpp"
#include "runtime/values/Random.hpp"

#include <vector>

namespace hearthix::sim {

struct MeshChild {
    enum class Kind {
        sensor, // a number that wanders between two bounds
        text,   // always the same text
        toggle, // 0 or 1, as the controller says
        dimmer  // 0 to 100, as the controller says
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

    Integer id = kNoId; // kNoId until the controller gives it one
    String name;
    Integer battery = -1; // per cent; below 0 for a node on the mains
    Integer batteryEvery = 60'000;
    bool asksTime = false;
    bool asksConfig = false;
    std::vector<MeshChild> children;

    bool started = false;
    Integer batteryDue = 0;
    Integer askDue = 0; // of a node without an ID
};

struct MeshCounts {
    Integer obeyed = 0;   // set commands that a child has carried out
    Integer answered = 0; // requests for a value
    Integer versions = 0;
    Integer times = 0;
    Integer configs = 0;
    Integer ids = 0;
    Integer ignored = 0; // lines for nobody
};

class Mesh {
public:
    explicit Mesh(std::vector<MeshNode> nodes, unsigned seed = 1);

    // The nodes start anew, as after a power cut: presentation, questions, first values.
    void restart(Integer now);
    // What the nodes say by themselves up to now.
    std::vector<String> due(Integer now);
    // When due has something to say next; far in the future when never.
    Integer nextDue() const;
    // What the mesh answers to a line from the controller.
    std::vector<String> answer(const String& text, Integer now);
    // The next sensor's new value, whatever its schedule; empty when no node has an ID and a sensor.
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

// Makes the protocol's vocabulary ready for use, once.
void ensureVocabulary();
// A number with so many decimals.
String decimalText(double number, int decimals);
// The address that a host gives the unit of a child's variable, such as 0A03.TEMP.
String unitAddress(Integer node, Integer child, Integer variableType);
// Whether the driver would use such an address, in capitals or not.
bool isUnitAddress(const String& address);

} // namespace hearthix::sim
