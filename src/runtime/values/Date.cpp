#include "runtime/values/Date.hpp"

#include "runtime/text/Numbers.hpp"

#include <algorithm>

namespace hearthix {

namespace {

constexpr double kSecondsFrom1904To1970 = 2082844800;

// The C library reads the time zone only once per process, unless tzset is called. That call costs too much
// for every date, so this function makes at most one per second.
void followTimeZone(std::time_t second) {
    static std::time_t last = -1;
    if (second != last)
        tzset();
    last = second;
}

String twoDigits(Integer number) {
    return Format(static_cast<double>(number), "00");
}

} // namespace

// Far outside of all useful dates, and small enough that no sum of fields overflows.
int Date::limited(Integer field) {
    constexpr Integer kLargest = 400'000'000;
    return static_cast<int>(std::clamp(field, -kLargest, kLargest));
}

std::tm& Date::fields() const {
    if (!fields_) {
        const std::time_t second = std::chrono::floor<std::chrono::seconds>(moment_).count();
        followTimeZone(second);
        localtime_r(&second, &fields_.emplace());
        fields_->tm_sec = std::min(fields_->tm_sec, 59); // 60 in a leap second
    }
    return *fields_;
}

const std::tm& Date::carried() const {
    std::tm& date = fields();
    const bool isKnown = date.tm_mon != -1 && date.tm_mday != 0;
    if (isKnown)
        timegm(&date);
    return date;
}

void Date::setTime(Integer hour, Integer minute, Integer second) {
    using namespace std::chrono;
    const seconds total = hours(limited(hour)) + minutes(limited(minute)) + seconds(limited(second));
    const auto carry = floor<days>(total);
    const hh_mm_ss time(total - carry);
    fields().tm_hour = static_cast<int>(time.hours().count());
    fields().tm_min = static_cast<int>(time.minutes().count());
    fields().tm_sec = static_cast<int>(time.seconds().count());
    setDay(fields().tm_mday + carry.count());
}

void Date::setSecond(Integer second) {
    setTime(Hour(), Minute(), second);
    moment_ = {};
}

double Date::TotalSeconds() const {
    std::tm date = fields();
    const std::chrono::duration<double> fraction =
        moment_ - std::chrono::floor<std::chrono::seconds>(moment_);
    return static_cast<double>(timegm(&date)) + kSecondsFrom1904To1970 + fraction.count();
}

String Date::LongTime() const {
    return concat(Str(Hour()), ":", twoDigits(Minute()), ":", twoDigits(Second()));
}

String Date::ShortDate() const {
    return concat(Str(Year()), "-", twoDigits(Month()), "-", twoDigits(Day()));
}

} // namespace hearthix
