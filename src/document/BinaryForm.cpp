// Reads and writes the Kbdb format, in streams and in strings. The writer uses one version, one byte order
// and one order of entries. The reader also accepts the other byte order, entries in any order and junk
// between them, because documents come from other writers too.
#include "document/TreeWalk.hpp"
#include "runtime/files/ByteOrder.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Log.hpp"

#include <string>
#include <utility>
#include <vector>

namespace hearthix {

namespace {

constexpr char kVersion = 'A';
constexpr char kLittleEndianMark = 'L';
constexpr char kBigEndianMark = 'B';
constexpr char kValueTag = 'V';
constexpr char kChildTag = 'O';
constexpr char kEndTag = 'E';

void appendText(std::string& bytes, const String& text) {
    constexpr std::size_t kLengthSize = 4;
    bytes.resize(bytes.size() + kLengthSize);
    encodeNumber(&bytes.back() - kLengthSize + 1, kLengthSize, text.size(), true);
    bytes.append(text.view());
}

// Appends a node up to its first child.
void appendStart(std::string& bytes, const CXML& node) {
    bytes.append("KbdbAL  ");
    for (const auto& entry : node.Values->entries()) {
        bytes.push_back(kValueTag);
        appendText(bytes, entry.key.asString());
        appendText(bytes, entry.value.asString());
        RuntimeBackgroundTask();
    }
}

void readHeader(BinaryStream& stream) {
    if (stream.Read(4) != kKbdbMagic || stream.ReadUInt8() > kVersion)
        throw RuntimeException();
    const std::uint8_t byteOrder = stream.ReadUInt8();
    // The byte order is a property of the stream, so the mark of a child also applies to the rest of its
    // parent.
    if (byteOrder == kBigEndianMark)
        stream.LittleEndian = false;
    else if (byteOrder == kLittleEndianMark)
        stream.LittleEndian = true;
    else
        HearthixSupport::WriteLog("read error unable to get byte order");
    stream.Read(2);
}

String readText(BinaryStream& stream, TextEncoding encoding) {
    const Integer length = stream.ReadUInt32();
    return stream.Read(length, encoding);
}

} // namespace

void CXML::SaveToBinaryData(const Ref<BinaryStream>& stream) const {
    stream->LittleEndian = true;
    // Written in large pieces, because many small ones would take three times as long.
    constexpr std::size_t kLargePiece = 65536;
    std::string bytes;
    appendStart(bytes, *this);
    const auto enter = [&](const Ref<CXML>& child, std::int64_t) {
        if (child.isNil())
            return false;
        if (bytes.size() > kLargePiece) {
            stream->Write(bytes);
            bytes.clear();
        }
        bytes.push_back(kChildTag);
        appendText(bytes, child->Name);
        appendStart(bytes, *child);
        return true;
    };
    walkTree(*this, enter, [&] { bytes.push_back(kEndTag); });
    stream->Write(bytes);
}

void CXML::LoadFromBinaryStream(const Ref<BinaryStream>& stream) {
    BinaryStream& in = *stream;
    readHeader(in);
    std::vector<CXML*> open{this};
    while (!open.empty() && !in.isEOF()) {
        CXML& node = *open.back();
        switch (in.ReadUInt8()) {
        case kEndTag: open.pop_back(); break;
        case kValueTag: {
            String key = readText(in, Encodings::UTF8);
            String value = readText(in, Encodings::UTF8);
            node.Values->SetValue(std::move(key), std::move(value));
            break;
        }
        case kChildTag: {
            const auto child = Ref<CXML>::make();
            child->Name = readText(in, TextEncoding::none);
            // Appended before it is read, so that the tree keeps what was read before a failure.
            node.Containers.Append(child);
            open.push_back(child.get());
            readHeader(in);
            break;
        }
        default: break;
        }
        RuntimeBackgroundTask();
    }
}

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

Ref<MemoryBlock> CXML::NewBinaryBlock(Integer size, const String& byteOrder) const {
    auto block = Ref<MemoryBlock>::make(size);
    block->LittleEndian = byteOrder != "B";
    return block;
}

void CXML::MergeArrays(std::vector<Ref<MemoryBlock>>& destination,
                       const std::vector<Ref<MemoryBlock>>& source) const {
    const std::size_t count = source.size(); // the two may be the same array
    for (std::size_t i = 0; i < count; ++i) {
        destination.push_back(Ref<MemoryBlock>(source[i]));
        RuntimeBackgroundTask();
    }
}

Integer CXML::SizeOfArray(const std::vector<Ref<MemoryBlock>>& blocks) const {
    Integer size = 0;
    for (const Ref<MemoryBlock>& block : blocks) {
        size += block->Size();
        RuntimeBackgroundTask();
    }
    return size;
}

} // namespace hearthix
