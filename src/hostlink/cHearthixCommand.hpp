// cHearthixCommand: the record for everything exchanged with the host, in both directions.
//
// A received packet fills the properties of its kind only. To send, create a record, fill it with SetMulti (a
// multipacket) or with the setters (a common message) and pass it to the host socket. Bytes beyond the end of
// a packet read as empty or 0, and numbers are not checked. GetMulti, GetKeys, hasKey and MakeAck raise
// NilObjectException on a record that never had an entry.
//
// The normal common message, one byte per field:
//
//   0 type  1 length of the whole packet  2 version  3 transaction  4 interface type  5 unit class  6 flags
//   7 code  8 command  9 address 1  10 address 2  11 level  12 parameter 1  13 parameter 2  14 blank  15 CR
//
// The multipacket:
//
//   0 "J"  1-2 length of the whole packet, little-endian  3 flags, 128: numbers are little-endian  4 entries
//   an entry: 0-3 key  4-5 length of the value  6 value
//
// docs/host-link.md describes both, with example bytes. The operations are implemented in CommonMessage.cpp,
// Multipacket.cpp, CommandDescriptions.cpp (texts for people) and, for the rest, cHearthixCommand.cpp.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"
#include "runtime/values/Date.hpp"
#include "runtime/values/Dictionary.hpp"

namespace hearthix {

class cHearthixCommand : public Object {
public:
    // The common message. One-byte fields are strings of length 0 or 1; numbers of a packet are unsigned
    // bytes.
    String Header;
    Integer PacketLength = 0;
    String Version;
    Integer TransactionID = 0;
    String InterfaceType;
    String UnitClass;
    Integer Flags = 0;
    String Code;
    String Command;
    String Address1;
    String Address2;
    Integer level = 0;
    Integer param1 = 0;
    Integer param2 = 0;
    // The bits of Flags.
    bool fDoTransmit = false;
    bool fCCM = false; // the command is for this driver, not for a unit
    bool fAddressOnly = false;
    bool fCommandOnly = false;
    bool fWireless = false;
    bool fPassThrough = false;
    bool fStacked = false;
    bool LowBattery = false; // the received command code was one of a low battery
    // Fields of special commands and packet types.
    String analog0, analog1, analog2, analog3;
    Integer rawAnalog16 = 0;
    double DoubleMeasurement = 0;

    // The log packet.
    Integer LogData = 0; // its level
    String LogMessage;

    // The multipacket.
    // A record with isMultiPacket and no MultiDict must not be sent: GetRawCommand and GetRawMultipacket
    // would call each other until the stack overflows. SetMulti and initFromMultiPacket set both.
    bool isMultiPacket = false;
    Ref<Dictionary> MultiDict; // nil until the first entry
    Integer MultiFlags = 0;
    bool LittleEndian = false;

    // Both kinds.
    String RawCommonCommand; // the whole received packet
    Date TimeStamp;          // the time of construction

    // Part of the record's definition, but unused.
    String Name;
    bool WaitForAck = false;
    bool fSecurity = false;
    double SentAtTicks = 0;

    // Reads a common message. Returns whether its type is accepted.
    virtual bool InitFromCommonMessage(const String& packet);
    // Returns the whole record as readable text. Its lines end in a carriage return.
    virtual String DebugString() const;
    virtual String GetCommandCodeDescription() const;
    // Returns "A" if the address is not a hexadecimal digit.
    virtual String GetHouseCode() const;
    // Returns a decimal number from 1; "1" if the address is not a hexadecimal digit.
    virtual String GetUnitCode() const;
    virtual String GetCommandCode() const { return Command; }
    // Accepts a letter from A to P and ignores everything else.
    virtual void SetHouseCode(const String& houseCode);
    virtual void SetUnitCode(Integer unitCode);
    // Inverts a bit of Flags. A second call clears the bit there, while its property stays true.
    virtual void SetFlag(const String& bit);
    // Sets the property of each bit in Flags, and clears none.
    virtual void ParseFlags();
    virtual void SetCommand(const String& command) { Command = command; }
    // Returns the packet to send and stores defaults in empty fields. A common message without an Address2
    // loses its Address1 too and is a byte shorter.
    virtual String GetRawCommand();
    virtual Integer GetTransactionID() const { return TransactionID; }
    virtual void SetTransactionID(Integer transactionID) { TransactionID = transactionID; }
    // Returns command and address in one line.
    virtual String GetLogLine() const;
    virtual void SetLevel(Integer value) { level = value; }
    // Stores raw data in the address fields, for the command "X".
    virtual void SetRawData(const String& data);
    virtual void SetParam1(Integer value) { param1 = value; }
    virtual void SetParam2(Integer value) { param2 = value; }
    virtual String GetErrorCodeDescription() const;
    // Returns the value of a key, or an empty string. Here and in hasKey the key is first padded or cut to
    // four bytes.
    virtual String GetMulti(const String& key) const;
    virtual Array<String> GetKeys() const;
    // Returns the multipacket, or the common message if there are no entries.
    virtual String GetRawMultipacket();
    // Reads a multipacket. Always returns true; an incomplete packet yields a shorter value.
    virtual bool initFromMultiPacket(const String& packet);
    // Stores a pair under the key as given. Only the packet contains the key's four-byte form.
    virtual void SetMulti(const String& key, const String& value);
    // Stores a pair faster, under a key that the record does not contain yet.
    void AddMulti(const String& key, const String& value);
    // Returns a new record that acknowledges this one by its "PkID".
    virtual Ref<cHearthixCommand> MakeAck() const;
    // Returns the raw data of a received "X" command.
    virtual String GetSendRawData() const;
    virtual bool hasKey(const String& key) const;

private:
    Dictionary& pairs();
    void readFields(const String& packet);
    void foldLowBattery();
    String commandForm() const;
};

namespace HearthixSupport {

// The latest signal strength from the host; unused.
extern Integer gSignalStrength;

// Hooks for error packets and log packets from the host. They do nothing.
void ErrorPacketReceived(const cHearthixCommand& command);
void LogCommandReceived(const cHearthixCommand& command);

} // namespace HearthixSupport

namespace MP {
// Returns "true" or "False" (sic), the two words that the host knows.
String convertBoolToKey(bool value);
} // namespace MP

} // namespace hearthix
