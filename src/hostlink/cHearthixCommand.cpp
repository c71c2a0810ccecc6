#include "hostlink/cHearthixCommand.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <array>

namespace hearthix {

String cHearthixCommand::GetHouseCode() const {
    // Calculated as a double, so that long addresses do not overflow. Chr returns no character for them.
    return Chr(toInteger(Val(concat("&h", Address1)) + static_cast<double>(AscB("A"))));
}

void cHearthixCommand::SetHouseCode(const String& houseCode) {
    static constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOP";
    for (std::size_t i = 0; i < kLetters.size(); ++i)
        if (RuntimeStringCompare(houseCode, kLetters.substr(i, 1)))
            Address1 = Hex(static_cast<Integer>(i));
}

String cHearthixCommand::GetUnitCode() const {
    return Str(Val(concat("&h", Address2)) + 1);
}

void cHearthixCommand::SetUnitCode(Integer unitCode) {
    // Calculated without a sign, so that the lowest number does not overflow.
    Address2 = Hex(static_cast<Integer>(static_cast<std::uint64_t>(unitCode) - 1));
}

void cHearthixCommand::ParseFlags() {
    struct FlagBit {
        std::uint64_t bit;
        bool cHearthixCommand::*property;
    };
    static constexpr std::array<FlagBit, 7> kBits{{{128, &cHearthixCommand::fDoTransmit},
                                                   {64, &cHearthixCommand::fCCM},
                                                   {32, &cHearthixCommand::fAddressOnly},
                                                   {16, &cHearthixCommand::fCommandOnly},
                                                   {8, &cHearthixCommand::fWireless},
                                                   {4, &cHearthixCommand::fPassThrough},
                                                   {2, &cHearthixCommand::fStacked}}};
    for (const FlagBit& each : kBits)
        if (Bitwise::BitAnd(static_cast<std::uint64_t>(Flags), each.bit) != 0)
            this->*each.property = true;
}

void cHearthixCommand::SetFlag(const String& bit) {
    const auto flipped =
        Bitwise::BitXor(static_cast<std::uint64_t>(Flags), static_cast<std::uint64_t>(ValInteger(bit)));
    Flags = static_cast<Integer>(flipped);
    ParseFlags();
}

} // namespace hearthix
