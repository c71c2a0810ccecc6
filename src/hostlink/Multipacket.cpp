// Reading and writing of the multipacket, the key and value packet of the host link.
#include "hostlink/cHearthixCommand.hpp"
#include "runtime/BinaryStream.hpp"
#include "runtime/ByteOrder.hpp"
#include "runtime/StringFunctions.hpp"

namespace hearthix {

namespace {

constexpr std::size_t kHeaderSize = 4;
constexpr std::size_t kFlagsOffset = 3;
constexpr Integer kKeySize = 4;
constexpr std::uint8_t kLittleEndianFlag = 128;
constexpr std::size_t kExpectedEntries = 8;

// The four-byte form of a key: padded with blanks at the left, or cut to its last four bytes.
String wireKey(const String& key) {
    return LenB(key) == kKeySize ? key : RightB(String("    ") + key, kKeySize);
}

void appendNumber(String& packet, std::size_t value) {
    char bytes[2];
    encodeNumber(bytes, sizeof bytes, value, true);
    packet.append(std::string_view(bytes, sizeof bytes));
}

} // namespace

void cHearthixCommand::SetMulti(const String& key, const String& value) {
    isMultiPacket = true;
    if (MultiDict.isNil())
        MultiDict = Ref<Dictionary>::make(kExpectedEntries);
    MultiDict->SetValue(key, value);
}

String cHearthixCommand::GetMulti(const String& key) const {
    const Variant* value = MultiDict->find(wireKey(key).view());
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
    const Integer count = MultiDict->Count();
    std::size_t size = kHeaderSize;
    for (Integer i = 0; i < count; ++i)
        size += static_cast<std::size_t>(kKeySize) + 2 + MultiDict->ValueAt(i).asString().size();

    String packet(std::string_view("J"));
    packet.reserve(size);
    // Lengths are cut to their low 16 bits, as the format has no more.
    appendNumber(packet, size);
    const char flags = static_cast<char>(kLittleEndianFlag);
    packet.append(std::string_view(&flags, 1));
    for (Integer i = 0; i < count; ++i) {
        const String& value = MultiDict->ValueAt(i).asString();
        packet.append(wireKey(MultiDict->Key(i).asString()));
        appendNumber(packet, value.size());
        packet.append(value);
    }
    return packet;
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
