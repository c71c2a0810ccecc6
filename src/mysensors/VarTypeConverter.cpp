#include "mysensors/VarTypeConverter.hpp"

#include <array>

namespace hearthix {

Ref<Dictionary> mySensors::varTypeConverter;

namespace {

constexpr std::array kSuffixes{
    "TEMP", "HUM",   "STATUS",    "PERCENT", "PRESSURE", "FORECAST", "RAIN",    "RATE",    //  0 to  7
    "WIND", "GUST",  "DIRECTION", "UV",      "WEIGHT",   "DISTANCE", "IMPEDE",  "ARM",     //  8 to 15
    "TRIP", "WATTS", "KWH",       "SCENE",   "SCENE",    "HVACMODE", "SPEED",   "LIGHT",   // 16 to 23
    "VAR1", "VAR2",  "VAR3",      "VAR4",    "VAR5",     "WINDOW",   "WINDOW",  "WINDOW",  // 24 to 31
    "IR",   "IR",    "FLOW",      "VOLUME",  "LOCK",     "LEVEL",    "VOLTAGE", "CURRENT", // 32 to 39
    "RGB",  "RGBW",  "ID",        "PREFIX",  "COOL",     "HEAT"};                          // 40 to 45

static_assert(kSuffixes.size() == mySensors::kLastVariableType + 1,
              "the last variable type must be changed too");

constexpr Integer kFan = 21;

// These numbers share their suffix with a lower number.
bool isSkipped(Integer number) {
    return number == 30 || number == 31 || number == 20;
}

} // namespace

void mySensors::createVarTypeConverter() {
    varTypeConverter = Ref<Dictionary>::make(2 * kSuffixes.size());
    Integer number = 0;
    for (const char* suffix : kSuffixes)
        varTypeConverter->SetValue(number++, suffix);
    // Replaces the name from the protocol, because hosts expect this one.
    varTypeConverter->SetValue(kFan, "FAN");

    for (const Variant& key : varTypeConverter->Keys())
        if (!isSkipped(key.asInteger()))
            varTypeConverter->SetValue(varTypeConverter->Value(key).asString(), key.asInteger());
}

} // namespace hearthix
