// The subcommand "types": the driver's own vocabulary, for people.
#include "mysensors/VarTypeConverter.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/text/Numbers.hpp"
#include "sim/Mesh.hpp"
#include "sim/Subcommands.hpp"
#include "sim/Text.hpp"

#include <array>

namespace hearthix::sim {

namespace {

// What a sketch sends, as far as the protocol or everybody's habit says; by suffix.
constexpr std::array<std::array<const char*, 2>, 22> kUnits{
    {{"TEMP", "°C"},    {"HUM", "%"},     {"PERCENT", "%"}, {"PRESSURE", "hPa"}, {"RAIN", "mm"},
     {"RATE", "mm/h"},  {"WIND", "m/s"},  {"GUST", "m/s"},  {"DIRECTION", "°"},  {"WEIGHT", "kg"},
     {"DISTANCE", "m"}, {"IMPEDE", "Ω"},  {"WATTS", "W"},   {"KWH", "kWh"},      {"LIGHT", "%"},
     {"VOLUME", "m³"},  {"VOLTAGE", "V"}, {"CURRENT", "A"}, {"RGB", "RRGGBB"},   {"RGBW", "RRGGBBWW"},
     {"COOL", "°C"},    {"HEAT", "°C"}}};

const char* unitOf(const String& suffix) {
    for (const auto& [name, unit] : kUnits)
        if (suffix == name)
            return unit;
    return "-";
}

} // namespace

int runTypes(const Settings&) {
    ensureVocabulary();
    Print("NUMBER  SUFFIX     DIMMABLE  READ-ONLY  UNIT");
    for (Integer type = 0; mySensors::varTypeConverter->HasKey(type); ++type) {
        const String suffix = mySensors::varTypeToSuffix(type);
        std::string line = paddedLeft(Str(type), 6) + "  " + padded(suffix, 11);
        line += padded(mySensors::isVarTypeDimmable(type) ? "yes" : "no", 10);
        line += padded(mySensors::isVarTypeReadOnly(type) ? "yes" : "no", 11) + unitOf(suffix);
        Print(String(line, TextEncoding::utf8));
    }
    return 0;
}

} // namespace hearthix::sim
