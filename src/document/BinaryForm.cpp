// The Kbdb format. The writer knows one version, one byte order and one order of entries; the reader takes
// both byte orders, entries in any order and junk in between. That is on purpose: documents come from other
// writers too.
#include "document/CXML.hpp"
#include "runtime/files/ByteOrder.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "shell/log/Log.hpp"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hearthix {

namespace {

constexpr std::uint8_t kVersion = 'A';
constexpr std::uint8_t kLittleEndianMark = 'L';
constexpr std::uint8_t kBigEndianMark = 'B';
constexpr std::uint8_t kValueTag = 'V';
constexpr std::uint8_t kChildTag = 'O';
constexpr std::uint8_t kEndTag = 'E';

// Collects the small pieces of a document and hands them to the stream in large ones.
class KbdbWriter {
public:
    explicit KbdbWriter(BinaryStream& stream) : stream_(stream) { stream_.LittleEndian = true; }

    // A node as far as its first child: header and values.
    void begin(const Dictionary& values) {
        constexpr char kHeader[] = {'K', 'b', 'd', 'b', kVersion, kLittleEndianMark, ' ', ' '};
        held_.append(kHeader, sizeof kHeader);
        for (const auto& entry : values.entries()) {
            tag(kValueTag);
            text(entry.key.asString());
            text(entry.value.asString());
            RuntimeBackgroundTask();
        }
    }
    void child(std::string_view name) {
        tag(kChildTag);
        text(name);
    }
    void end() { tag(kEndTag); }
    void flush() {
        stream_.Write(held_);
        held_.clear();
    }

private:
    static constexpr std::size_t kMostHeld = 65536;

    void tag(std::uint8_t value) { held_.push_back(static_cast<char>(value)); }
    void text(std::string_view bytes) {
        char length[4];
        encodeNumber(length, sizeof length, bytes.size(), true);
        held_.append(length, sizeof length).append(bytes);
        if (held_.size() >= kMostHeld)
            flush();
    }

    BinaryStream& stream_;
    std::string held_;
};

void readHeader(BinaryStream& stream) {
    if (stream.Read(4) != kKbdbMagic || stream.ReadUInt8() > kVersion)
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
    KbdbWriter out(*stream);
    out.begin(*Values);
    std::vector<Frame> open{{this, 0}};
    while (!open.empty()) {
        Frame& frame = open.back();
        if (frame.next > frame.node->Containers.Ubound()) {
            out.end();
            open.pop_back();
            continue;
        }
        const Ref<CXML>& child = frame.node->Containers[frame.next++];
        RuntimeBackgroundTask();
        if (child.isNil())
            continue;
        out.child(child->Name);
        out.begin(*child->Values);
        open.push_back({child.get(), 0});
    }
    out.flush();
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
            const String value = readText(in, Encodings::UTF8);
            node.Values->SetValue(key, value);
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
