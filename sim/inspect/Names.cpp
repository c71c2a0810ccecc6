#include "sim/inspect/Names.hpp"

#include "mysensors/cMSCommand.hpp"
#include "mysensors/VarTypeConverter.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "sim/Mesh.hpp"

#include <array>
#include <map>

namespace hearthix::sim {

bool isNamedType(Integer type) {
    ensureVocabulary();
    return mySensors::varTypeConverter->HasKey(type);
}

std::string protocolName(Integer type) {
    constexpr Integer kFirstUnnamed = 46;
    static constexpr std::array kUnnamed{"V_HVAC_FLOW_MODE",
                                         "V_TEXT",
                                         "V_CUSTOM",
                                         "V_POSITION",
                                         "V_IR_RECORD",
                                         "V_PH",
                                         "V_ORP",
                                         "V_EC",
                                         "V_VAR",
                                         "V_VA",
                                         "V_POWER_FACTOR"};
    static const std::map<Integer, const char*> kShared{
        {19, "V_SCENE_ON"}, {20, "V_SCENE_OFF"}, {29, "V_UP"},         {30, "V_DOWN"},
        {31, "V_STOP"},     {32, "V_IR_SEND"},   {33, "V_IR_RECEIVE"}, {43, "V_UNIT_PREFIX"}};
    const auto index = static_cast<std::size_t>(type - kFirstUnnamed);
    if (type >= kFirstUnnamed && index < kUnnamed.size())
        return kUnnamed.at(index);
    const auto found = kShared.find(type);
    return found != kShared.end() ? found->second : "type " + std::to_string(type);
}

std::string presentedName(const std::string& type) {
    static const std::map<std::string, const char*> kNewer{
        {"36", "Info"}, {"37", "Gas Meter"}, {"38", "GPS"}, {"39", "Water Quality"}};
    const auto found = kNewer.find(type);
    return found != kNewer.end()
               ? found->second
               : std::string(mySensors::DescribePresentationSubType(ValInteger(type)).view());
}

std::string addressOf(Integer node, Integer child) {
    return std::string(mySensors::rootAddressOf(node, child).view());
}

} // namespace hearthix::sim
