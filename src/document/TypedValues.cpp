// The values of a node, as strings and as other types.
#include "document/CXML.hpp"
#include "document/EncodingRules.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Base64.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix {

namespace {

constexpr Integer kBase64Line = 76;
constexpr const char* kWideMarkerBegin = "en111";
constexpr const char* kWideMarkerEnd = "en000";

// The marker of a wrapped string: "en" and a NUL.
const String& wrapMarker() {
    static const String kMarker(std::string_view("en\0", 3), Encodings::UTF8);
    return kMarker;
}

Integer numberField(const String& text, const String& separator, Integer index) {
    return ValInteger(NthField(text, separator, index));
}

} // namespace

// Returns the stored string of a key, or null.
const String* CXML::stored(const String& key) const {
    const Variant* value = Values->find(keyForReading(key));
    return value != nullptr ? &value->asString() : nullptr;
}

String CXML::GetStringValue(const String& key) const {
    const String* value = stored(key);
    if (value == nullptr)
        return {};
    String result = *value;
    if (LeftB(result, 3) == wrapMarker())
        result = DecodeBase64(RightB(result, LenB(result) - 3));
    else if (Left(result, 5) == kWideMarkerBegin && Right(result, 5) == kWideMarkerEnd)
        result = DecodeBase64(Mid(result, 6, Len(result) - 10));
    return DefineEncoding(result, Encodings::UTF8);
}

String CXML::GetStringValue(const String& key, const String& fallback) const {
    const String* value = stored(key);
    if (value == nullptr)
        return fallback;
    if (LeftB(*value, 3) == wrapMarker())
        return DecodeBase64(Right(*value, Len(*value) - 3));
    if (LeftB(*value, 5) == kWideMarkerBegin && RightB(*value, 5) == kWideMarkerEnd)
        return DecodeBase64(MidB(*value, 6, LenB(*value) - 10));
    return *value;
}

Integer CXML::GetIntegerValue(const String& key, Integer fallback) const {
    const String* value = stored(key);
    return value != nullptr ? ValInteger(*value) : fallback;
}

double CXML::GetDoubleValue(const String& key, double fallback) const {
    const String* value = stored(key);
    return value != nullptr ? Val(*value) : fallback;
}

std::uint64_t CXML::GetUInt64Value(const String& key, std::uint64_t fallback) const {
    const String* value = stored(key);
    if (value == nullptr)
        return fallback;
    constexpr double kTopBit = 9223372036854775808.0; // 2 to the power 63
    const double number = Val(*value);
    if (number < kTopBit)
        return static_cast<std::uint64_t>(toInteger(number));
    return static_cast<std::uint64_t>(toInteger(number - kTopBit)) | (std::uint64_t{1} << 63U);
}

bool CXML::getBooleanValue(const String& key, bool fallback) const {
    const String* value = stored(key);
    return value != nullptr ? *value == "true" : fallback;
}

std::optional<Date> CXML::getDate(const String& key) const {
    Date date;
    const String* value = stored(key);
    if (value == nullptr)
        return std::nullopt;
    const String day = NthField(*value, " ", 1);
    const String time = NthField(*value, " ", 2);
    date.setMonth(numberField(day, "/", 1));
    date.setDay(numberField(day, "/", 2));
    date.setYear(numberField(day, "/", 3));
    date.setHour(numberField(time, ":", 1));
    date.setMinute(numberField(time, ":", 2));
    date.setSecond(numberField(time, ":", 3));
    return date;
}

std::optional<Date> CXML::getDate(const String& key, const std::optional<Date>& fallback) const {
    const std::optional<Date> date = getDate(key);
    return date ? date : fallback;
}

Color CXML::GetColorValue(const String& key, const Color& fallback) const {
    const String text = GetStringValue(key);
    if (text.empty())
        return fallback;
    return RGB(numberField(text, ",", 1), numberField(text, ",", 2), numberField(text, ",", 3));
}

String CXML::GetBinaryData(const String& key) const {
    return DecodeBase64(GetStringValue(key));
}

Ref<FolderItem> CXML::GetFile(const String& key) const {
    const String* value = stored(key);
    return value != nullptr ? GetFolderItem(DecodeBase64(*value), 0) : nullptr;
}

void CXML::SetStringValue(const String& key, const String& value) {
    Values->SetValue(textForStoring(key), textForStoring(value));
}

void CXML::SetIntegervalue(const String& key, Integer value) {
    SetStringValue(key, Str(value));
}

void CXML::SetDoubleValue(const String& key, double value) {
    Values->SetValue(textForStoring(key), Format(value, "-#.##########"));
}

void CXML::SetBooleanValue(const String& key, bool value) {
    SetStringValue(key, value ? "true" : "false");
}

void CXML::SetDate(const String& key, const std::optional<Date>& value) {
    if (!value) {
        removeObject(textForStoring(key));
        return;
    }
    SetStringValue(key, concat(Str(value->Month()), "/", Str(value->Day()), "/", Str(value->Year()), " ",
                               Str(value->Hour()), ":", Str(value->Minute()), ":", Str(value->Second())));
}

void CXML::SetColorValue(const String& key, const Color& value) {
    SetStringValue(key, concat(Str(value.red), ", ", Str(value.green), ", ", Str(value.blue)));
}

void CXML::SetBinaryValue(const String& key, const String& bytes) {
    SetStringValue(key, EncodeBase64(bytes, kBase64Line));
}

void CXML::setEncryptedStringValue(const String& key, const String& value) {
    SetStringValue(key, wrapMarker() + EncodeBase64(value, kBase64Line));
}

void CXML::SetFile(const String& key, const Ref<FolderItem>& file) {
    if (file)
        SetBinaryValue(key, file->GetSaveInfo(nullptr, 0));
    else
        removeObject(key);
}

bool CXML::ObjectExists(const String& key) const {
    return stored(key) != nullptr;
}

void CXML::removeObject(const String& key) {
    if (Values->HasKey(key))
        Values->Remove(key);
}

String CXML::GetKeyByIndex(Integer index) const {
    return Values->Key(index).asString();
}

void CXML::DeleteObjects() {
    Values = Ref<Dictionary>::make();
}

void CXML::InsertValues(const Ref<CXML>& other) {
    const Integer count = other->GetKeyCount();
    for (Integer i = 0; i < count; ++i) {
        const String key = other->GetKeyByIndex(i);
        SetStringValue(key, other->GetStringValue(key));
        RuntimeBackgroundTask();
    }
}

} // namespace hearthix
