#include "tests/support/Kbdb.hpp"

#include <algorithm>

namespace hearthix::test {

namespace {

std::string counted(const std::string& bytes, ByteOrder order) {
    std::string length;
    for (int shift = 0; shift < 32; shift += 8)
        length += static_cast<char>(bytes.size() >> shift & 255);
    if (order == ByteOrder::big)
        std::reverse(length.begin(), length.end());
    return length + bytes;
}

} // namespace

std::string document(const Entries& values, const Children& children, ByteOrder order) {
    std::string bytes = "KbdbA" + std::string{static_cast<char>(order), ' ', ' '};
    for (const auto& [key, value] : values)
        bytes += 'V' + counted(key, order) + counted(value, order);
    for (const auto& [name, child] : children)
        bytes += 'O' + counted(name, order) + child;
    return bytes + 'E';
}

std::string unitList(const std::vector<std::string>& addresses, ByteOrder order) {
    Children children{{"scene", document({{"Address", "F000.TEMP"}}, {}, order)}};
    for (const std::string& address : addresses) {
        const Children inner{{"unit", document({{"Address", "F100.TEMP"}}, {}, order)}};
        children.emplace_back("unit", document({{"Name", "lamp"}, {"Address", address}}, inner, order));
    }
    return document({{"Address", "F200.TEMP"}}, children, order);
}

std::string unitsPacket(const std::string& document) {
    return multipacket({{"mcmd", "setUnits"}, {"DATA", document}});
}

} // namespace hearthix::test
