// The description of a mesh in a TOML file, and the mesh that there is without one.
//
// kMeshExample shows all that a file may hold. What may be left out: a node's "id", it then asks the
// controller for one; its "battery", "battery-every" (60) and "asks"; a child's "every" (5). A child with
// "low" and "high" is a sensor, with as many decimals as "low" has, one with "text" always says the same, and
// STATUS or PERCENT with neither obeys and reports back, like a switch or a dimmer.
#pragma once

#include "sim/Mesh.hpp"

#include <vector>

namespace hearthix::sim {

extern const char* const kMeshExample;

// Raises Failure, with line and column, for a text that is no description. The name is for the message.
std::vector<MeshNode> parseMesh(const String& text, const String& name);
// The standard mesh when the path is empty. Raises Failure when the file can't be read, too.
std::vector<MeshNode> loadMesh(const String& path);

} // namespace hearthix::sim
