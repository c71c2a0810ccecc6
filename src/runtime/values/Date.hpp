// A moment on the local clock: a date and a time of day without a time zone.
//
// A new Date is the present moment. The fields can be set one by one. A field out of its range carries over
// into the next higher one: month 13 is January of the next year, February 31 is in March. The time of day
// carries when it is set, the date when it is read, so that month, day and year can be set in any order.
// Month 0 and day 0 mean "unknown": they stay 0, and until they are set to another value neither month nor
// day carries. Only TotalSeconds reads month 0 as the month before January and day 0 as the day before the
// first.
//
// A value type. An empty std::optional means "no date".
#pragma once

#include "runtime/text/String.hpp"
#include "runtime/values/Clock.hpp"

#include <chrono>
#include <ctime>
#include <optional>

namespace hearthix {

class Date {
public:
    // The present moment.
    Date() : moment_(clocks::wall()) {}

    Integer Year() const { return Integer{carried().tm_year} + 1900; }
    Integer Month() const { return carried().tm_mon + 1; }
    Integer Day() const { return carried().tm_mday; }
    Integer Hour() const { return fields().tm_hour; }
    Integer Minute() const { return fields().tm_min; }
    Integer Second() const { return fields().tm_sec; }
    void setYear(Integer year) { fields().tm_year = limited(year) - 1900; }
    void setMonth(Integer month) { fields().tm_mon = limited(month) - 1; }
    void setDay(Integer day) { fields().tm_mday = limited(day); }
    void setHour(Integer hour) { setTime(hour, Minute(), Second()); }
    void setMinute(Integer minute) { setTime(Hour(), minute, Second()); }
    // Also drops the fraction of a second.
    void setSecond(Integer second);

    // Seconds from 1904-01-01 00:00:00 on the local clock. The present moment has a fraction of a second.
    double TotalSeconds() const;
    // The time of day: "9:05:02".
    String LongTime() const;
    // "2021-03-07"
    String ShortDate() const;

private:
    static int limited(Integer field);
    void setTime(Integer hour, Integer minute, Integer second);
    std::tm& fields() const;
    const std::tm& carried() const;

    std::chrono::nanoseconds moment_;       // of the construction
    mutable std::optional<std::tm> fields_; // computed on first use, because most dates are never read
};

} // namespace hearthix
