// The description of a mesh in a text file, and the mesh that there is without one.
//
// A line is one statement; "#" begins a comment, and a text with blanks stands in double quotes. Statements
// behind a "node" are about that node.
//
//   node ID|new NAME                    an ID from 1 to 254; "new" asks the controller for one
//   battery LEVEL [every SECONDS]       reports its battery, falling
//   asks time|config                    at its start
//   sensor CHILD TYPE LOW HIGH [every SECONDS]   a number between two bounds; TYPE as in TEMP, HUM, TRIP
//   text CHILD TYPE TEXT [every SECONDS]
//   switch CHILD                        obeys and reports back, STATUS
//   dimmer CHILD                        the same from 0 to 100, PERCENT
#pragma once

#include "sim/Mesh.hpp"

#include <vector>

namespace hearthix::sim {

// The same description for people, for the help.
extern const char* const kMeshGrammar;

std::vector<MeshNode> standardMesh();
// Raises Failure, with the line's number, for what is no description. The name is for the message.
std::vector<MeshNode> parseMesh(const String& text, const String& name);
// Raises Failure when the file can't be read, too.
std::vector<MeshNode> loadMesh(const String& path);

} // namespace hearthix::sim
