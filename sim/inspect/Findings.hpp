// The problems of a mesh that its recording shows, and their remedies.
#pragma once

#include "sim/inspect/MeshModel.hpp"

#include <span>
#include <string>
#include <vector>

namespace hearthix::sim {

struct FindingKind {
    const char* name;
    const char* text; // names in braces are replaced by values
    const char* remedy;
    bool isFinal; // found only at the end of a recording
};

// All kinds of findings, in the order in which they are reported. docs/inspect.md has the same table.
std::span<const FindingKind> findingKinds();

struct Finding {
    const FindingKind* kind;
    std::string text;
    Integer line = 0;  // number in the file; 0 for none
    Integer node = -1; // -1 for none, like child
    Integer child = -1;
    std::string address; // of a unit or of a child; empty for none
};

std::vector<Finding> findingsOf(const MeshModel& mesh, const RecordingReader& recording);

} // namespace hearthix::sim
