#include "runtime/values/Date.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/values/Clock.hpp"

#include <algorithm>
#include <ctime>

namespace hearthix {

namespace {

constexpr Integer kSecondsOfDay = 86400;
constexpr Integer kDaysFrom1904To1970 = 24107;
// Far beyond any date that a peer could mean, and far from any overflow.
constexpr Integer kLargestField = 400'000'000;

Integer floorDivide(Integer value, Integer by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

// Days from 1970-01-01 of a date in the proleptic Gregorian calendar.
Integer daysFromCivil(Integer year, Integer month, Integer day) {
    year -= month <= 2 ? 1 : 0;
    const Integer era = floorDivide(year, 400);
    const Integer yearOfEra = year - era * 400;
    const Integer dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

Integer clampField(Integer value) {
    return std::clamp(value, -kLargestField, kLargestField);
}

// The system reads the zone once in the life of a process, unless it is told to look again. That costs a
// call, so it is told once a second at most.
void followZone(std::int64_t second) {
    static std::int64_t lookedAt = INT64_MIN;
    if (second != lookedAt)
        tzset();
    lookedAt = second;
}

} // namespace

Date::Date() : moment_(clocks::wall()) {
}

void Date::resolve() const {
    if (resolved_)
        return;
    const std::int64_t seconds = floorDivide(moment_, clocks::kSecond);
    const auto time = static_cast<time_t>(seconds);
    std::tm local{};
    followZone(seconds);
    localtime_r(&time, &local);
    localDay_ = daysFromCivil(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
    secondsOfDay_ =
        std::min<Integer>(local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec, kSecondsOfDay - 1);
    fraction_ =
        static_cast<double>(moment_ - seconds * clocks::kSecond) / static_cast<double>(clocks::kSecond);
    resolved_ = true;
}

Date::Civil Date::civil() const {
    resolve();
    carry();
    const Integer days = localDay_ + 719468;
    const Integer era = floorDivide(days, 146097);
    const Integer dayOfEra = days - era * 146097;
    const Integer yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const Integer dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const Integer shifted = (5 * dayOfYear + 2) / 153;
    const Integer month = shifted + (shifted < 10 ? 3 : -9);
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, dayOfYear - (153 * shifted + 2) / 5 + 1};
}

Integer Date::localSeconds() const {
    resolve();
    return secondsOfDay_;
}

Date::Civil& Date::fields() {
    if (!fields_)
        fields_ = civil();
    return *fields_;
}

void Date::carry() const {
    if (!fields_)
        return;
    const Integer monthIndex = clampField(fields_->month) - 1;
    const Integer year = clampField(fields_->year) + floorDivide(monthIndex, 12);
    const Integer month = monthIndex - floorDivide(monthIndex, 12) * 12 + 1;
    localDay_ = daysFromCivil(year, month, 1) + clampField(fields_->day) - 1;
    fields_.reset();
}

void Date::setSecondsOfDay(Integer seconds) {
    const Integer days = floorDivide(seconds, kSecondsOfDay);
    secondsOfDay_ = seconds - days * kSecondsOfDay;
    Civil& date = fields();
    date.day = clampField(date.day) + days;
}

void Date::setYear(Integer year) {
    fields().year = year;
}

void Date::setMonth(Integer month) {
    fields().month = month;
}

void Date::setDay(Integer day) {
    fields().day = day;
}

void Date::setHour(Integer hour) {
    setSecondsOfDay(clampField(hour) * 3600 + localSeconds() % 3600);
}

void Date::setMinute(Integer minute) {
    setSecondsOfDay(Hour() * 3600 + clampField(minute) * 60 + Second());
}

void Date::setSecond(Integer second) {
    setSecondsOfDay(localSeconds() - Second() + clampField(second));
    fraction_ = 0;
}

double Date::TotalSeconds() const {
    resolve();
    carry();
    return static_cast<double>((localDay_ + kDaysFrom1904To1970) * kSecondsOfDay + secondsOfDay_) + fraction_;
}

String Date::LongTime() const {
    return concat(Str(Hour()), ":", Format(static_cast<double>(Minute()), "00"), ":",
                  Format(static_cast<double>(Second()), "00"));
}

String Date::ShortDate() const {
    const Civil date = civil();
    return concat(Str(date.year), "-", Format(static_cast<double>(date.month), "00"), "-",
                  Format(static_cast<double>(date.day), "00"));
}

} // namespace hearthix
