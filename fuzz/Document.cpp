// Arbitrary bytes as a document: read, written, read again, cloned, dumped, changed, taken apart.
#include "document/CXML.hpp"
#include "fuzz/Require.hpp"
#include "runtime/values/Exceptions.hpp"
#include "shell/log/Log.hpp"
#include "tools/KbdbCheck.hpp"

#include <string_view>
#include <vector>

namespace hearthix {

namespace fuzz {

namespace {

// False when the bytes are refused; the document keeps what came ahead.
bool load(CXML& document, const Ref<BinaryStream>& stream) {
    try {
        document.LoadFromBinaryStream(stream);
    } catch (const RuntimeException&) {
        return false;
    }
    return true;
}

// The node and all below it.
std::vector<const CXML*> nodesOf(const CXML& root) {
    std::vector<const CXML*> nodes{&root};
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const CXML& node = *nodes[i];
        for (std::int64_t child = 1; child <= node.Containers.Ubound(); ++child)
            nodes.push_back(node.Containers[child].get());
    }
    return nodes;
}

// Whatever a value is taken for: what a getter makes of it, its setter keeps.
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
            "every value and node is written, soundly");
    const bool sound = !findKbdbFault(bytes, found = {});
    // A key that comes twice is kept once.
    require(!sound || (accepted && found.values >= values && found.documents == nodes.size()),
            "a sound document is read whole");
    require(!sound || found.values > values || written.size() == bytes.size(),
            "and written in as many bytes");

    const auto again = Ref<CXML>::make();
    again->loadFromString(written);
    require(again->SaveToString().view() == written.view(), "what was written reads back");
    const auto clone = document->Clone();
    require(clone->SaveToString().view() == written.view(), "a clone is equal");

    if (nodes.size() <= kMostDumped)
        require(document->getAsDebugData().size() > nodes.size() + values, "all is dumped");
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
