#include "sim/PacketTrace.hpp"

#include "document/CXML.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Exceptions.hpp"

namespace hearthix::sim {

namespace {

bool isDocument(const String& text) {
    return text.view().starts_with(kKbdbMagic);
}

void appendLines(std::vector<String>& lines, const String& text, const String& separator) {
    for (const String& line : Split(text, separator))
        if (!Trim(line).empty())
            lines.push_back(line);
}

void appendDocument(std::vector<String>& lines, const String& bytes) {
    const auto document = Ref<CXML>::make();
    try {
        document->loadFromString(bytes);
    } catch (const RuntimeException&) {
        lines.emplace_back("  (the document is incomplete)");
    }
    appendLines(lines, document->getAsDebugData(), "\n");
}

std::vector<String> traceOfMultipacket(const cHearthixCommand& packet) {
    std::vector<String> lines;
    String first("J");
    for (const String& key : packet.GetKeys()) {
        const String value = packet.GetMulti(key);
        if (isDocument(value)) {
            first += concat(" ", key, "=document of ", Str(LenB(value)), " bytes");
            appendDocument(lines, value);
        } else {
            first += concat(" ", key, "=\"", value, "\"");
        }
    }
    lines.insert(lines.begin(), first);
    return lines;
}

} // namespace

std::vector<String> traceOf(const cHearthixCommand& packet) {
    if (packet.isMultiPacket)
        return traceOfMultipacket(packet);
    if (packet.Header == "L")
        return {concat("L level ", Str(packet.LogData), " \"", packet.LogMessage, "\"")};
    std::vector<String> lines{packet.GetLogLine()};
    appendLines(lines, packet.DebugString(), Chr(13));
    return lines;
}

} // namespace hearthix::sim
