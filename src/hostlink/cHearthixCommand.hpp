// cHearthixCommand: the one record for everything exchanged with the host, in either direction.
//
// A received packet fills only the properties of its kind. To send, make a record, fill it with SetMulti (a
// multipacket) or with the setters (a common message) and hand it to the host socket. A position beyond the
// end of a packet reads as empty or 0, and no range is checked; what looks at entries raises
// NilObjectException on a record that has none.
//
// The normal common message, one byte a field:
//
//   0 type  1 length of the whole packet  2 version  3 transaction  4 interface type  5 unit class  6 flags
//   7 code  8 command  9 address 1  10 address 2  11 level  12 parameter 1  13 parameter 2  14 blank  15 CR
//
// The multipacket:
//
//   0 "J"  1-2 length of the whole packet, little-endian  3 flags, 128: numbers are little-endian  4 entries
//   an entry: 0-3 key  4-5 length of the value  6 value
//
// docs/host-link.md has both in full, with worked bytes. Of the operations, those on the common message stand
// in CommonMessage.cpp, those on the multipacket in Multipacket.cpp, the texts for people in
// CommandDescriptions.cpp, and what both share in cHearthixCommand.cpp.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"
#include "runtime/values/Date.hpp"
#include "runtime/values/Dictionary.hpp"

namespace hearthix {

class cHearthixCommand : public Object {
public:
    // The common message. One-byte fields are strings of length 1 or empty; numbers from a packet are
    // unsigned bytes.
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
    // Its flags, one by one.
    bool fDoTransmit = false;
    bool fCCM = false; // the command is for this driver and not for a unit
    bool fAddressOnly = false;
    bool fCommandOnly = false;
    bool fWireless = false;
    bool fPassThrough = false;
    bool fStacked = false;
    bool LowBattery = false; // the command code as received said so
    // What commands that have a form of their own carry.
    String analog0;
    String analog1;
    String analog2;
    String analog3;
    Integer rawAnalog16 = 0;
    double DoubleMeasurement = 0;

    // The log packet.
    Integer LogData = 0; // its level
    String LogMessage;

    // The multipacket.
    bool isMultiPacket = false;
    Ref<Dictionary> MultiDict; // nil until the first use
    Integer MultiFlags = 0;
    bool LittleEndian = false;

    // Of either kind.
    String RawCommonCommand; // the whole packet as received
    Date TimeStamp;          // the moment of construction

    // Part of the record as its users know it; nothing here uses them.
    String Name;
    bool WaitForAck = false;
    bool fSecurity = false;
    double SentAtTicks = 0;

    // Reads a common message. True when the record now holds a packet of an accepted type.
    virtual bool InitFromCommonMessage(const String& packet);
    // The whole record for a person, over several lines that end in a carriage return.
    virtual String DebugString() const;
    virtual String GetCommandCodeDescription() const;
    // "A" for an address that is no hexadecimal digit.
    virtual String GetHouseCode() const;
    // Decimal text from 1 on; "1" for an address that is no hexadecimal digit.
    virtual String GetUnitCode() const;
    virtual String GetCommandCode() const { return Command; }
    // A letter from A to P; anything else changes nothing.
    virtual void SetHouseCode(const String& houseCode);
    virtual void SetUnitCode(Integer unitCode);
    // Flips the bit in Flags: setting one twice clears it there, while its property stays true.
    virtual void SetFlag(const String& bit);
    // Sets the property of each bit in Flags; clears none.
    virtual void ParseFlags();
    virtual void SetCommand(const String& command) { Command = command; }
    // The packet to send, in the form that the record calls for. Stores the defaults of empty fields into the
    // record. A common message without an Address2 loses its Address1 as well, and goes out a byte shorter.
    virtual String GetRawCommand();
    virtual Integer GetTransactionID() const { return TransactionID; }
    virtual void SetTransactionID(Integer transactionID) { TransactionID = transactionID; }
    // One line with command and address, for logs.
    virtual String GetLogLine() const;
    virtual void SetLevel(Integer value) { level = value; }
    // Puts raw data into the address fields, for the command "X".
    virtual void SetRawData(const String& data);
    virtual void SetParam1(Integer value) { param1 = value; }
    virtual void SetParam2(Integer value) { param2 = value; }
    virtual String GetErrorCodeDescription() const;
    // The value under a key, which is brought to its four-byte form first; empty when it is missing. Like
    // GetKeys and hasKey it raises NilObjectException on a record that never had an entry.
    virtual String GetMulti(const String& key) const;
    virtual Array<String> GetKeys() const;
    // The packet of a multipacket; of a record without entries, its common message.
    virtual String GetRawMultipacket();
    // Reads a multipacket. Always true: what is cut off yields a shorter value.
    virtual bool initFromMultiPacket(const String& packet);
    // Stores a pair under the key exactly as given; only writing brings it to four bytes.
    virtual void SetMulti(const String& key, const String& value);
    // The same for a key that the record is known not to hold.
    void AddMulti(const String& key, const String& value);
    // A new record that acknowledges this one by its "PkID".
    virtual Ref<cHearthixCommand> MakeAck() const;
    // The raw data of a received "X" command.
    virtual String GetSendRawData() const;
    virtual bool hasKey(const String& key) const;

private:
    Dictionary& pairs();
    void foldLowBattery();
    String commandForm() const;
};

namespace HearthixSupport {

// The latest signal strength that the host has sent. Kept for callers that know it; nothing here uses it.
extern Integer gSignalStrength;

// Called for each error packet and each log packet from the host. They do nothing.
void ErrorPacketReceived(const cHearthixCommand& command);
void LogCommandReceived(const cHearthixCommand& command);

} // namespace HearthixSupport

// Values of multipackets.
namespace MP {
// "true" and "False": the host knows the two words in just this case.
String convertBoolToKey(bool value);
} // namespace MP

} // namespace hearthix
