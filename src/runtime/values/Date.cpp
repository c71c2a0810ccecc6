#include "runtime/values/Date.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/values/Clock.hpp"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace hearthix {

namespace {

constexpr Integer kSecondsOfDay = 86400;
constexpr Integer kDaysFrom1904To1970 = 24107;
// Far beyond any date that a peer could mean, and far from any overflow.
constexpr Integer kLargestField = 400'000'000;
// The calendar repeats itself. The years of std::chrono end soon: theirs are of the cycle from 2000 on.
constexpr Integer kCycleYears = 400;
constexpr Integer kCycleDays = 146'097;
constexpr Integer kDaysFrom1970To2000 = 10957;

Integer floorDivide(Integer value, Integer by) {
    return value / by - (value % by < 0 ? 1 : 0);
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

Date::Fields& Date::fields() const {
    if (!fields_) {
        const std::int64_t seconds = floorDivide(moment_, clocks::kSecond);
        const auto time = static_cast<time_t>(seconds);
        std::tm local{};
        followZone(seconds);
        localtime_r(&time, &local);
        const Integer second = local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec;
        fields_ = {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                   std::min(second, kSecondsOfDay - 1), // a leap second
                   static_cast<double>(moment_ - seconds * clocks::kSecond) / clocks::kSecond};
    }
    return *fields_;
}

// Days from 1970-01-01.
Integer Date::daysOf(const Fields& date) {
    const Integer months = clampField(date.month) - 1;
    const Integer year = clampField(date.year) + floorDivide(months, 12);
    const Integer cycle = floorDivide(year - 2000, kCycleYears);
    const std::chrono::sys_days first =
        std::chrono::year(static_cast<int>(year - cycle * kCycleYears)) /
        std::chrono::month(static_cast<unsigned>(months - floorDivide(months, 12) * 12 + 1)) / 1;
    return first.time_since_epoch().count() + cycle * kCycleDays + clampField(date.day) - 1;
}

const Date::Fields& Date::carried() const {
    Fields& date = fields();
    if (date.month == 0 || date.day == 0)
        return date;
    const Integer days = daysOf(date);
    const Integer cycle = floorDivide(days - kDaysFrom1970To2000, kCycleDays);
    const std::chrono::year_month_day day{
        std::chrono::sys_days(std::chrono::days(days - cycle * kCycleDays))};
    date.year = static_cast<int>(day.year()) + cycle * kCycleYears;
    date.month = static_cast<unsigned>(day.month());
    date.day = static_cast<unsigned>(day.day());
    return date;
}

void Date::setSecondsOfDay(Integer seconds) {
    Fields& date = fields();
    const Integer days = floorDivide(seconds, kSecondsOfDay);
    date.second = seconds - days * kSecondsOfDay;
    date.day = clampField(date.day) + days;
}

void Date::setHour(Integer hour) {
    setSecondsOfDay(clampField(hour) * 3600 + fields().second % 3600);
}

void Date::setMinute(Integer minute) {
    setSecondsOfDay(Hour() * 3600 + clampField(minute) * 60 + Second());
}

void Date::setSecond(Integer second) {
    setSecondsOfDay(fields().second - Second() + clampField(second));
    fields().fraction = 0;
}

double Date::TotalSeconds() const {
    const Fields& date = fields();
    return static_cast<double>((daysOf(date) + kDaysFrom1904To1970) * kSecondsOfDay + date.second) +
           date.fraction;
}

String Date::LongTime() const {
    return concat(Str(Hour()), ":", Format(static_cast<double>(Minute()), "00"), ":",
                  Format(static_cast<double>(Second()), "00"));
}

String Date::ShortDate() const {
    return concat(Str(Year()), "-", Format(static_cast<double>(Month()), "00"), "-",
                  Format(static_cast<double>(Day()), "00"));
}

} // namespace hearthix
