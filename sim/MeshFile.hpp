// The description of a mesh in a TOML file, and the standard mesh.
//
// kMeshExample shows everything that a file may contain. These keys are optional: a node's "id" (without it
// the node asks the controller), "battery", "battery-every" (60) and "asks", and a child's "every" (5). A
// child with "low" and "high" is a sensor, with as many decimals as "low" has; one with "text" always reports
// that text; STATUS or PERCENT without these obeys and reports back, like a switch or a dimmer.
#pragma once

#include "sim/Mesh.hpp"

#include <vector>

namespace hearthix::sim {

extern const char* const kMeshExample;

// Raises Failure with line and column for an invalid text. The name is for the message.
std::vector<MeshNode> parseMesh(const String& text, const String& name);
// Returns the standard mesh for an empty path. Raises Failure also if the file cannot be read.
std::vector<MeshNode> loadMesh(const String& path);

} // namespace hearthix::sim
