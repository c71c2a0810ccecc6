// Fuzz target: reads arbitrary bytes as a document, then writes, clones, dumps, changes and releases it. Its
// values are also the inputs of the functions for numbers and texts.
#include "document/CXML.hpp"
#include "fuzz/Require.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Exceptions.hpp"
#include "shell/log/Log.hpp"
#include "tools/KbdbCheck.hpp"

#include <cmath>
#include <string_view>
#include <vector>

namespace hearthix {

namespace fuzz {

namespace {

// Returns false if the bytes are refused. The document keeps what was read before the fault.
bool load(CXML& document, const Ref<BinaryStream>& stream) {
    try {
        document.LoadFromBinaryStream(stream);
    } catch (const RuntimeException&) {
        return false;
    }
    return true;
}

// Returns the node and all nodes below it.
std::vector<const CXML*> nodesOf(const CXML& root) {
    std::vector<const CXML*> nodes{&root};
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const CXML& node = *nodes[i];
        for (std::int64_t child = 1; child <= node.Containers.Ubound(); ++child)
            nodes.push_back(node.Containers[child].get());
    }
    return nodes;
}

// Reads a value with the getter of each type and stores the result with the setter of that type.
void checkTypes(const CXML& node, const String& key) {
    const auto copy = Ref<CXML>::make();
    copy->SetDate(key, node.getDate(key));
    copy->SetDoubleValue(key, node.GetDoubleValue(key));
    copy->SetColorValue(key, node.GetColorValue(key));
    require(copy->GetColorValue(key) == node.GetColorValue(key), "a colour is kept");
    const String text = node.GetStringValue(key);
    copy->setEncryptedStringValue(key, text);
    require(copy->GetStringValue(key, "other").view() == text.view(), "a wrapped text is kept");
    copy->SetFile(key, node.GetFile(key));
    const double number = Val(text);
    require(std::isinf(number) || Val(Str(number)) == number, "a double reads back");
    require(ValInteger(text) == toInteger(number), "an integer is the truncated number");
    const Array<String> fields = Split(text, key);
    require(CountFields(text, key) == fields.Ubound() + 1, "the fields are counted");
    require(Join(fields, key) == text, "the fields are joined again");
}

void run(const String& bytes) {
    constexpr std::size_t kMostDumped = 500; // nodes: a dump grows with the square of the depth
    const auto document = Ref<CXML>::make();
    const bool accepted = load(*document, Ref<BinaryStream>::make(bytes));
    const String written = document->SaveToString();
    const auto nodes = nodesOf(*document);
    std::size_t values = 0;
    for (const CXML* node : nodes)
        values += static_cast<std::size_t>(node->GetKeyCount());
    KbdbCensus found;
    require(!findKbdbFault(written, found) && found.values == values && found.documents == nodes.size(),
            "the written document is sound and contains every value and node");
    const bool sound = !findKbdbFault(bytes, found = {});
    // A repeated key is stored once, so the document may contain fewer values than the input.
    require(!sound || (accepted && found.values >= values && found.documents == nodes.size()),
            "a sound document is read completely");
    require(!sound || found.values > values || written.size() == bytes.size(),
            "a sound document is written in as many bytes");

    const auto again = Ref<CXML>::make();
    again->loadFromString(written);
    require(again->SaveToString().view() == written.view(), "a written document reads back unchanged");
    const auto clone = document->Clone();
    require(clone->SaveToString().view() == written.view(), "a clone is equal");

    if (nodes.size() <= kMostDumped)
        require(document->getAsDebugData().size() > nodes.size() + values,
                "the dump contains every node and value");
    for (const CXML* node : nodes)
        for (Integer i = 0; i < node->GetKeyCount(); ++i)
            checkTypes(*node, node->GetKeyByIndex(i));
    clone->InsertValues(document);
    clone->Release();
    require(!findKbdbFault(clone->SaveToString(), found = {}) && found.documents == 1,
            "a released document has no children");
}

} // namespace

} // namespace fuzz
} // namespace hearthix

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Nobody reads the log of this program.
    hearthix::Log::setSink([](const hearthix::String&, hearthix::Integer) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    hearthix::fuzz::run(hearthix::String(std::string_view(reinterpret_cast<const char*>(data), size)));
    return 0;
}
