// What is wrong with a mesh, as far as its recording shows it, and what to do about it.
#pragma once

#include "sim/inspect/MeshModel.hpp"

#include <span>
#include <string>
#include <vector>

namespace hearthix::sim {

struct FindingKind {
    const char* name;
    const char* text; // with names in braces for what is filled in
    const char* remedy;
    bool isFinal; // only the end of a recording shows it
};

// All kinds of findings, in the order in which they are reported. docs/inspect.md has the same table.
std::span<const FindingKind> findingKinds();

struct Finding {
    const FindingKind* kind;
    std::string text;
    Integer line = 0;  // of the file; 0 for none
    Integer node = -1; // -1 for none
    Integer child = -1;
    std::string address; // of a unit or of a child; empty for none
};

std::vector<Finding> findingsOf(const MeshModel& mesh, const RecordingReader& recording);

} // namespace hearthix::sim
