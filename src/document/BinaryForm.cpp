// The Kbdb format. The writer knows one version, one byte order and one order of entries; the reader takes
// both byte orders, entries in any order and junk in between. That is on purpose: documents come from other
// writers too.
#include "document/CXML.hpp"
#include "runtime/ConsoleApplication.hpp"
#include "runtime/StringFunctions.hpp"
#include "shell/Logging.hpp"

namespace hearthix {

namespace {

constexpr std::uint8_t kVersion = 'A';
constexpr std::uint8_t kLittleEndianMark = 'L';
constexpr std::uint8_t kBigEndianMark = 'B';
constexpr std::uint8_t kValueTag = 'V';
constexpr std::uint8_t kChildTag = 'O';
constexpr std::uint8_t kEndTag = 'E';

void writeText(BinaryStream& stream, const String& text) {
    stream.WriteUInt32(static_cast<std::uint32_t>(text.size()));
    stream.Write(text);
}

void writeHeaderAndValues(BinaryStream& stream, const Dictionary& values) {
    stream.Write(kKbdbMagic);
    stream.WriteUInt8(kVersion);
    stream.WriteUInt8(kLittleEndianMark);
    stream.LittleEndian = true;
    stream.Write("  ");
    const Integer count = values.Count();
    for (Integer i = 0; i < count; ++i) {
        stream.WriteUInt8(kValueTag);
        writeText(stream, values.Key(i).asString());
        writeText(stream, values.ValueAt(i).asString());
        RuntimeBackgroundTask();
    }
}

void readHeader(BinaryStream& stream) {
    if (!(stream.Read(4) == kKbdbMagic) || stream.ReadUInt8() > kVersion)
        throw RuntimeException();
    const std::uint8_t byteOrder = stream.ReadUInt8();
    // Of the stream, and not of the node: a child's mark stays in force for the rest of its parent.
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
    struct Frame {
        const CXML* node;
        std::int64_t next;
    };
    BinaryStream& out = *stream;
    writeHeaderAndValues(out, *Values);
    std::vector<Frame> open{{this, 0}};
    while (!open.empty()) {
        Frame& frame = open.back();
        if (frame.next > frame.node->Containers.Ubound()) {
            out.WriteUInt8(kEndTag);
            open.pop_back();
            continue;
        }
        const Ref<CXML>& child = frame.node->Containers[frame.next++];
        RuntimeBackgroundTask();
        if (child.isNil())
            continue;
        out.WriteUInt8(kChildTag);
        writeText(out, child->Name);
        writeHeaderAndValues(out, *child->Values);
        open.push_back({child.get(), 0});
    }
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
            const String key = readText(in, Encodings::UTF8);
            node.Values->SetValue(key, readText(in, Encodings::UTF8));
            break;
        }
        case kChildTag: {
            const auto child = Ref<CXML>::make();
            child->Name = readText(in, TextEncoding::none);
            // In the tree before it is read: a failure inside it keeps what was read.
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

Ref<MemoryBlock> CXML::NewBinaryBlock(Integer size, const String& byteOrder) const {
    const auto block = Ref<MemoryBlock>::make(size);
    block->LittleEndian = !(byteOrder == "B");
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
