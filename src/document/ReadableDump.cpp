// A document as text for a person. Nothing reads it back.
#include "document/CXML.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "shell/log/Log.hpp"

#include <algorithm>
#include <string>

namespace hearthix {

namespace {

constexpr std::size_t kIndent = 4;

std::string indentOf(Integer depth) {
    return std::string(kIndent * static_cast<std::size_t>(std::max<Integer>(depth + 1, 0)), ' ');
}

void writeValues(BinaryStream& stream, const Dictionary& values, Integer depth) {
    const std::string indent = indentOf(depth);
    const Array<Variant> keys = values.Keys();
    stream.Write(concat("(", Str(keys.Ubound() + 1), ") value keys", EndOfLine));
    for (const Variant& key : keys) {
        stream.Write(indent);
        stream.Write(concat(key.asString(), "=", values.Value(key).asString(), EndOfLine));
        RuntimeBackgroundTask();
    }
}

} // namespace

void CXML::saveToReadableString(const Ref<BinaryStream>& stream, Integer depth) const {
    struct Frame {
        const CXML* node;
        std::int64_t next;
    };
    BinaryStream& out = *stream;
    writeValues(out, *Values, depth);
    std::vector<Frame> open{{this, 1}};
    while (!open.empty()) {
        Frame& frame = open.back();
        if (frame.next > frame.node->Containers.Ubound()) {
            open.pop_back();
            continue;
        }
        const Integer level = depth + static_cast<Integer>(open.size()) - 1;
        const std::int64_t index = frame.next++;
        const Ref<CXML>& child = frame.node->Containers[index];
        out.Write(indentOf(level));
        RuntimeBackgroundTask();
        if (child.isNil()) {
            out.Write(concat("Container is nil at index ", Str(index), EndOfLine));
            continue;
        }
        out.Write(concat("Container: ", child->Name, " "));
        writeValues(out, *child->Values, level + 1);
        open.push_back({child.get(), 1});
    }
}

String CXML::getAsDebugData() const {
    const auto block = Ref<MemoryBlock>::make();
    const auto stream = Ref<BinaryStream>::make(block);
    saveToReadableString(stream, 0);
    stream->Close();
    return block->toString();
}

void CXML::DebugToLog() const {
    HearthixSupport::WriteLog("--- begin debug");
    for (Integer i = 0; i < Values->Count(); ++i) {
        HearthixSupport::WriteLog(concat(Values->Key(i).asString(), " : ", Values->ValueAt(i).asString()));
        RuntimeBackgroundTask();
    }
    HearthixSupport::WriteLog("---end debug");
}

} // namespace hearthix
