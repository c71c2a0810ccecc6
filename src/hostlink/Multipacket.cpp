// Reading and writing of the multipacket, the key and value packet of the host link.
#include "hostlink/cHearthixCommand.hpp"
#include "runtime/files/BinaryStream.hpp"
#include "runtime/files/ByteOrder.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <cstring>

namespace hearthix {

namespace {

constexpr std::size_t kHeaderSize = 4;
constexpr std::size_t kFlagsOffset = 3;
constexpr Integer kKeySize = 4;
constexpr std::uint8_t kLittleEndianFlag = 128;
constexpr std::size_t kNumberSize = 2;
constexpr std::size_t kExpectedEntries = 8;

// The four-byte form of a key: padded with blanks at the left, or cut to its last four bytes.
String wireKey(const String& key) {
    return LenB(key) == kKeySize ? key : RightB(concat("    ", key), kKeySize);
}

// Writes a packet front to back into memory of its size.
class PacketWriter {
public:
    explicit PacketWriter(char* target) : at_(target) {}

    void put(std::string_view bytes) {
        if (!bytes.empty())
            std::memcpy(at_, bytes.data(), bytes.size());
        at_ += bytes.size();
    }
    void putByte(std::uint8_t value) { *at_++ = static_cast<char>(value); }
    void putKey(const String& key) {
        if (key.size() == static_cast<std::size_t>(kKeySize))
            put(key.view());
        else
            put(wireKey(key));
    }
    // Cut to the low 16 bits, as the format has no more.
    void putNumber(std::size_t value) {
        encodeNumber(at_, kNumberSize, value, true);
        at_ += kNumberSize;
    }

private:
    char* at_;
};

} // namespace

Dictionary& cHearthixCommand::pairs() {
    isMultiPacket = true;
    if (MultiDict.isNil())
        MultiDict = Ref<Dictionary>::make(kExpectedEntries);
    return *MultiDict;
}

void cHearthixCommand::SetMulti(const String& key, const String& value) {
    pairs().SetValue(key, value);
}

void cHearthixCommand::AddMulti(const String& key, const String& value) {
    pairs().Add(key, value);
}

String cHearthixCommand::GetMulti(const String& key) const {
    const Variant* value = MultiDict->find(wireKey(key));
    return value != nullptr ? value->asString() : String();
}

bool cHearthixCommand::hasKey(const String& key) const {
    return MultiDict->HasKey(wireKey(key));
}

Array<String> cHearthixCommand::GetKeys() const {
    Array<String> keys;
    for (const Variant& key : MultiDict->Keys())
        keys.Append(key.asString());
    return keys;
}

String cHearthixCommand::GetRawMultipacket() {
    if (MultiDict.isNil())
        return GetRawCommand();
    std::size_t size = kHeaderSize;
    for (const auto& entry : MultiDict->entries())
        size += static_cast<std::size_t>(kKeySize) + kNumberSize + entry.value.asString().size();

    return String::build(size, TextEncoding::none, [&](char* target) {
        PacketWriter packet(target);
        packet.put("J");
        packet.putNumber(size);
        packet.putByte(kLittleEndianFlag);
        for (const auto& entry : MultiDict->entries()) {
            const String& value = entry.value.asString();
            packet.putKey(entry.key.asString());
            packet.putNumber(value.size());
            packet.put(value.view());
        }
    });
}

bool cHearthixCommand::initFromMultiPacket(const String& packet) {
    isMultiPacket = true;
    RawCommonCommand = packet;
    MultiFlags = packet.byteAt(kFlagsOffset);
    LittleEndian = (packet.byteAt(kFlagsOffset) & kLittleEndianFlag) != 0;
    MultiDict = Ref<Dictionary>::make(kExpectedEntries);
    BinaryStream stream(packet);
    stream.LittleEndian = LittleEndian;
    stream.setPosition(kHeaderSize);
    while (!stream.isEOF()) {
        const String key = stream.Read(kKeySize);
        const Integer length = stream.ReadUInt16();
        MultiDict->SetValue(key, stream.Read(length));
    }
    stream.Close();
    return true;
}

Ref<cHearthixCommand> cHearthixCommand::MakeAck() const {
    auto ack = Ref<cHearthixCommand>::make();
    ack->isMultiPacket = true;
    ack->SetMulti("mcmd", "ACK");
    ack->SetMulti("PkID", GetMulti("PkID"));
    return ack;
}

String MP::convertBoolToKey(bool value) {
    return value ? "true" : "False";
}

} // namespace hearthix
