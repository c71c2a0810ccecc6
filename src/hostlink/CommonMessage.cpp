// Reading and writing of the common message, the fixed packet of the host link. The reader and the writer
// differ on purpose: each serves a different generation of hosts (docs/host-link.md lists the differences).
#include "hostlink/cHearthixCommand.hpp"
#include "runtime/files/MemoryBlock.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix {

namespace {

// Offsets of the normal form.
constexpr std::size_t kLength = 1;
constexpr std::size_t kVersion = 2;
constexpr std::size_t kTransaction = 3;
constexpr std::size_t kInterfaceType = 4;
constexpr std::size_t kUnitClass = 5;
constexpr std::size_t kFlags = 6;
constexpr std::size_t kCode = 7;
constexpr std::size_t kCommand = 8;
constexpr std::size_t kAddress1 = 9;
constexpr std::size_t kAddress2 = 10;
constexpr std::size_t kLevel = 11;
constexpr std::size_t kParam1 = 12;
constexpr std::size_t kParam2 = 13;
constexpr std::size_t kSignalStrength = 15;
constexpr std::size_t kRawData = 10;
constexpr std::size_t kAnalogDigits = 12;
// Offsets of the log packet.
constexpr std::size_t kLogLevel = 2;

constexpr Integer kHighestLogLevel = 4;
constexpr Integer kLevelThatReadsAsZero = 76;
constexpr Integer kDefaultTransaction = 64;
constexpr Integer kNoAddress = 128;
constexpr Integer kLeastBody = 13;
constexpr Integer kCarriageReturn = 13;

bool isOneOf(const String& letter, std::string_view letters) {
    for (std::size_t i = 0; i < letters.size(); ++i)
        if (RuntimeStringCompare(letter, letters.substr(i, 1)))
            return true;
    return false;
}

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

// The code of a sensor with a low battery is that of a full one plus 1. Codes are compared as all commands
// are, so "q" and "u" count as 81 and 85.
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
    const auto byteString = [&](std::size_t offset) { return packet.cut(offset, 1); };
    const auto number = [&](std::size_t offset) { return static_cast<Integer>(packet.byteAt(offset)); };

    RawCommonCommand = packet;
    Header = byteString(0);
    if (Header == "E") {
        Code = byteString(kCode);
        HearthixSupport::ErrorPacketReceived(*this);
        return false;
    }
    if (!isOneOf(Header, "XYLMN"))
        return false;
    PacketLength = number(kLength);
    if (Header == "L") {
        // A level byte above the highest level is no level but the first byte of the text.
        LogData = number(kLogLevel);
        const bool hasLevel = LogData <= kHighestLogLevel;
        LogMessage = packet.cut(hasLevel ? kLogLevel + 1 : kLogLevel);
        LogData = hasLevel ? LogData : kHighestLogLevel;
        HearthixSupport::LogCommandReceived(*this);
        return true;
    }

    Version = byteString(kVersion);
    TransactionID = number(kTransaction);
    InterfaceType = byteString(kInterfaceType);
    UnitClass = byteString(kUnitClass);
    Flags = number(kFlags);
    ParseFlags();
    Code = byteString(kCode);
    Command = byteString(kCommand);
    foldLowBattery();
    Address1 = byteString(kAddress1);
    Address2 = byteString(kAddress2);
    level = number(kLevel);
    if (level == kLevelThatReadsAsZero)
        level = 0;
    param1 = number(kParam1);
    param2 = number(kParam2);
    if (InterfaceType == "P")
        HearthixSupport::gSignalStrength = number(kSignalStrength);
    if (Header == "M")
        rawAnalog16 = ValInteger(concat("&h", packet.cut(kAnalogDigits, 4)));
    return true;
}

// What follows the address bytes, filler included; it depends on the command.
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
