// Reads and writes the multipacket, the key and value packet of the host link.
#include "hostlink/cHearthixCommand.hpp"
#include "runtime/files/BinaryStream.hpp"
#include "runtime/files/ByteOrder.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <algorithm>

namespace hearthix {

namespace {

constexpr std::size_t kHeaderSize = 4;
constexpr std::size_t kFlagsOffset = 3;
constexpr std::size_t kKeySize = 4;
constexpr std::uint8_t kLittleEndianFlag = 128;
constexpr std::size_t kNumberSize = 2;
constexpr std::size_t kUsualEntries = 8;

// Returns the four-byte form of a key: padded with blanks at the left, or its last four bytes.
String wireKey(const String& key) {
    return key.size() == kKeySize ? key : RightB(concat("    ", key), kKeySize);
}

} // namespace

Dictionary& cHearthixCommand::pairs() {
    isMultiPacket = true;
    if (MultiDict.isNil())
        MultiDict = Ref<Dictionary>::make(kUsualEntries);
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
    // Optimised: the packet is written into memory of its exact size.
    std::size_t size = kHeaderSize;
    for (const auto& entry : MultiDict->entries())
        size += kKeySize + kNumberSize + entry.value.asString().size();
    return String::build(size, TextEncoding::none, [&](char* at) {
        const auto put = [&at](std::string_view bytes) { at = std::copy(bytes.begin(), bytes.end(), at); };
        // Cut to 16 bits, because the format has no more.
        const auto putNumber = [&at](std::size_t number) {
            encodeNumber(at, kNumberSize, number, true);
            at += kNumberSize;
        };
        put("J");
        putNumber(size);
        put("\x80");
        for (const auto& entry : MultiDict->entries()) {
            const String& value = entry.value.asString();
            const std::string_view key = entry.key.asString();
            const std::size_t keySize = std::min(key.size(), kKeySize);
            put(std::string_view("    ").substr(keySize));
            put(key.substr(key.size() - keySize));
            putNumber(value.size());
            put(value);
        }
    });
}

bool cHearthixCommand::initFromMultiPacket(const String& packet) {
    isMultiPacket = true;
    RawCommonCommand = packet;
    MultiFlags = packet.byteAt(kFlagsOffset);
    LittleEndian = (packet.byteAt(kFlagsOffset) & kLittleEndianFlag) != 0;
    MultiDict = Ref<Dictionary>::make(kUsualEntries);
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
