// The description of a mesh, as text of at most 80 columns and as JSON. docs/inspect.md shows both.
#pragma once

#include "sim/inspect/Findings.hpp"

#include <string>

namespace hearthix::sim {

std::string textReport(const std::string& name, const RecordingReader& recording, const MeshModel& mesh,
                       const std::vector<Finding>& findings);
std::string findingText(const Finding& finding);

// One JSON object, without a line feed.
std::string jsonReport(const std::string& name, const RecordingReader& recording, const MeshModel& mesh,
                       const std::vector<Finding>& findings);
std::string findingJson(const Finding& finding);

} // namespace hearthix::sim
