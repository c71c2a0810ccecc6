// Reads and writes the common message, the fixed packet of the host link. Reader and writer differ on
// purpose, because each serves another generation of hosts (docs/host-link.md lists the differences).
#include "hostlink/cHearthixCommand.hpp"
#include "runtime/files/MemoryBlock.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix {

namespace {

// Offsets; the header file lists them all.
constexpr std::size_t kLength = 1;
constexpr std::size_t kVersion = 2;
constexpr std::size_t kLogLevel = 2;
constexpr std::size_t kCode = 7;
constexpr std::size_t kRawData = 10;
constexpr std::size_t kAnalogDigits = 12;
constexpr std::size_t kSignalStrength = 15;

constexpr Integer kHighestLogLevel = 4;
constexpr Integer kLevelThatReadsAsZero = 76;
constexpr Integer kDefaultTransaction = 64;
constexpr Integer kNoAddress = 128;
constexpr Integer kLeastBody = 13;
constexpr Integer kCarriageReturn = 13;

void useDefault(String& field, const String& value) {
    if (field.empty())
        field = value;
}

} // namespace

Integer HearthixSupport::gSignalStrength = 0;

void HearthixSupport::ErrorPacketReceived(const cHearthixCommand&) {
}

void HearthixSupport::LogCommandReceived(const cHearthixCommand&) {
}

// A sensor with a low battery sends its usual code plus 1. The comparison ignores case, so "q" and "u" count
// as 81 and 85.
void cHearthixCommand::foldLowBattery() {
    for (const Integer code : {5, 85, 1, 81}) {
        if (Command == ChrB(code)) {
            Command = ChrB(code - 1);
            LowBattery = true;
            return;
        }
    }
}

bool cHearthixCommand::InitFromCommonMessage(const String& packet) {
    RawCommonCommand = packet;
    Header = packet.cut(0, 1);
    if (Header == "E") {
        Code = packet.cut(kCode, 1);
        HearthixSupport::ErrorPacketReceived(*this);
        return false;
    }
    if (Header.empty() || InStr(1, "XYLMN", Header) == 0)
        return false;
    PacketLength = packet.byteAt(kLength);
    if (Header == "L") {
        // A larger byte is not a level but the first byte of the text.
        const bool hasLevel = packet.byteAt(kLogLevel) <= kHighestLogLevel;
        LogData = hasLevel ? packet.byteAt(kLogLevel) : kHighestLogLevel;
        LogMessage = packet.cut(hasLevel ? kLogLevel + 1 : kLogLevel);
        HearthixSupport::LogCommandReceived(*this);
        return true;
    }
    readFields(packet);
    return true;
}

// Reads the fields of the normal form in the order of the packet.
void cHearthixCommand::readFields(const String& packet) {
    std::size_t offset = kVersion;
    const auto nextText = [&] { return packet.cut(offset++, 1); };
    const auto nextNumber = [&] { return static_cast<Integer>(packet.byteAt(offset++)); };
    Version = nextText();
    TransactionID = nextNumber();
    InterfaceType = nextText();
    UnitClass = nextText();
    Flags = nextNumber();
    ParseFlags();
    Code = nextText();
    Command = nextText();
    foldLowBattery();
    Address1 = nextText();
    Address2 = nextText();
    level = nextNumber();
    if (level == kLevelThatReadsAsZero)
        level = 0;
    param1 = nextNumber();
    param2 = nextNumber();
    if (InterfaceType == "P")
        HearthixSupport::gSignalStrength = packet.byteAt(kSignalStrength);
    if (Header == "M")
        rawAnalog16 = ValInteger(concat("&h", packet.cut(kAnalogDigits, 4)));
}

// Returns the bytes between the addresses and the filler. They depend on the command.
String cHearthixCommand::commandForm() const {
    if (Command == "Z") {
        MemoryBlock measurement(8);
        measurement.LittleEndian = true;
        measurement.setDoubleValue(0, DoubleMeasurement);
        return measurement.toString();
    }
    if (Command == "A")
        return concat(ChrB(level), analog0, analog1, analog2, analog3);
    if (Command == "X")
        return {};
    return concat(ChrB(level), ChrB(param1), ChrB(param2));
}

String cHearthixCommand::GetRawCommand() {
    if (isMultiPacket)
        return GetRawMultipacket();
    useDefault(Version, "a");
    if (TransactionID == 0)
        TransactionID = kDefaultTransaction;
    useDefault(InterfaceType, "L");
    useDefault(UnitClass, "X");
    useDefault(Code, "0");
    useDefault(Address1, ChrB(kNoAddress));
    if (Address2.empty())
        Address1 = ChrB(kNoAddress);

    String body = concat(Version, ChrB(TransactionID), InterfaceType, UnitClass, ChrB(Flags), Code, Command,
                         Address1, Address2, commandForm());
    while (Command != "Z" && LenB(body) < kLeastBody)
        body += " ";
    body += ChrB(kCarriageReturn);
    useDefault(Header, "X");
    String packet = DefineEncoding(concat(Header, ChrB(LenB(body) + 2), body), TextEncoding::none);
    PacketLength = LenB(packet);
    return packet;
}

void cHearthixCommand::SetRawData(const String& data) {
    Address1 = ChrB(LenB(data));
    Address2 = data;
}

String cHearthixCommand::GetSendRawData() const {
    return RawCommonCommand.cut(kRawData, static_cast<std::size_t>(AscB(Address1)));
}

} // namespace hearthix
