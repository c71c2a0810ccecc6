#include "hostlink/cHearthixCommand.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix {

String cHearthixCommand::GetHouseCode() const {
    // Calculated as a double, so that long addresses do not overflow. Chr returns no character for them.
    return Chr(toInteger(Val(concat("&h", Address1)) + static_cast<double>(AscB("A"))));
}

void cHearthixCommand::SetHouseCode(const String& houseCode) {
    const Integer position = InStr(1, "ABCDEFGHIJKLMNOP", houseCode);
    if (LenB(houseCode) == 1 && position > 0)
        Address1 = Hex(position - 1);
}

String cHearthixCommand::GetUnitCode() const {
    return Str(Val(concat("&h", Address2)) + 1);
}

void cHearthixCommand::SetUnitCode(Integer unitCode) {
    // Calculated without a sign, so that the lowest number does not overflow.
    Address2 = Hex(static_cast<Integer>(static_cast<std::uint64_t>(unitCode) - 1));
}

void cHearthixCommand::ParseFlags() {
    const auto setIf = [this](bool& property, std::uint64_t bit) {
        property = property || Bitwise::BitAnd(static_cast<std::uint64_t>(Flags), bit) != 0;
    };
    setIf(fDoTransmit, 128);
    setIf(fCCM, 64);
    setIf(fAddressOnly, 32);
    setIf(fCommandOnly, 16);
    setIf(fWireless, 8);
    setIf(fPassThrough, 4);
    setIf(fStacked, 2);
}

void cHearthixCommand::SetFlag(const String& bit) {
    const auto flipped =
        Bitwise::BitXor(static_cast<std::uint64_t>(Flags), static_cast<std::uint64_t>(ValInteger(bit)));
    Flags = static_cast<Integer>(flipped);
    ParseFlags();
}

} // namespace hearthix
