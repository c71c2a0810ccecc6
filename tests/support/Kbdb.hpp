// The host's unit list as the host writes it, in either byte order: a writer of the tests' own.
#pragma once

#include "tests/support/Packets.hpp"

namespace hearthix::test {

enum class ByteOrder : char { little = 'L', big = 'B' };

// Named documents inside a document.
using Children = std::vector<std::pair<std::string, std::string>>;

// A node and all below it: header, values, children, end.
std::string document(const Entries& values, const Children& children, ByteOrder order = ByteOrder::little);

// A document with a unit an address, and with what else a host may keep in it.
std::string unitList(const std::vector<std::string>& addresses, ByteOrder order = ByteOrder::little);

// The host's answer to "getUnits".
std::string unitsPacket(const std::string& document);

} // namespace hearthix::test
