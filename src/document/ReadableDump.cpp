// Prints a document as text for people. Nothing reads this text.
#include "document/TreeWalk.hpp"
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
    BinaryStream& out = *stream;
    writeValues(out, *Values, depth);
    const auto enter = [&](const Ref<CXML>& child, std::int64_t index) {
        if (index == 0)
            return false;
        out.Write(indentOf(depth));
        if (child.isNil()) {
            out.Write(concat("Container is nil at index ", Str(index), EndOfLine));
            return false;
        }
        out.Write(concat("Container: ", child->Name, " "));
        writeValues(out, *child->Values, ++depth);
        return true;
    };
    walkTree(*this, enter, [&] { --depth; });
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
