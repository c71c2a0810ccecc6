// The byte form in a string, which is how the host sends its list of units.
#include "document/CXML.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix {

String CXML::SaveToString() const {
    const auto block = Ref<MemoryBlock>::make();
    const auto stream = Ref<BinaryStream>::make(block);
    SaveToBinaryData(stream);
    stream->Close();
    return block->StringValue(0, block->Size());
}

void CXML::loadFromString(const String& text) {
    if (text.empty() || Left(text, 4) != kKbdbMagic)
        return;
    const auto stream = Ref<BinaryStream>::make(text);
    LoadFromBinaryStream(stream);
    stream->Close();
}

String CXML::DecodeXMLString(const String& text) const {
    return ReplaceAll(text, "_", " ");
}

} // namespace hearthix
