// A moment on the local clock: a civil date and time without a zone, as the machine's user reads it.
//
// A new Date holds the present moment. The single fields can be set one by one; a field out of its range
// carries over into the next higher one (month 13 is January of the next year), and a day that the month
// lacks likewise. They carry when the date is read: month, day and year may be set in any order. A month or
// day of 0 is one that nobody knows: it stays 0, and as long as it does neither month nor day carries. Only
// TotalSeconds has to place such a date: month 0 before January, day 0 before the first. A value type;
// "no date" is an empty std::optional.
#pragma once

#include "runtime/text/String.hpp"

#include <cstdint>
#include <optional>

namespace hearthix {

class Date {
public:
    // The present moment.
    Date();

    Integer Year() const { return carried().year; }
    Integer Month() const { return carried().month; }
    Integer Day() const { return carried().day; }
    Integer Hour() const { return fields().second / 3600; }
    Integer Minute() const { return fields().second / 60 % 60; }
    Integer Second() const { return fields().second % 60; }
    void setYear(Integer year) { fields().year = year; }
    void setMonth(Integer month) { fields().month = month; }
    void setDay(Integer day) { fields().day = day; }
    void setHour(Integer hour);
    void setMinute(Integer minute);
    void setSecond(Integer second);

    // Seconds from 1904-01-01 00:00:00 on the local clock, with a fraction for the present moment.
    double TotalSeconds() const;
    // The time of day in full: "9:05:02".
    String LongTime() const;
    // "2021-03-07"
    String ShortDate() const;

private:
    struct Fields {
        Integer year;
        Integer month;
        Integer day;
        Integer second; // of the day, 0 to 86399
        double fraction;
    };

    static Integer daysOf(const Fields& date);
    Fields& fields() const;
    const Fields& carried() const;
    void setSecondsOfDay(Integer seconds);

    std::int64_t moment_;                  // nanoseconds of the wall clock at construction
    mutable std::optional<Fields> fields_; // worked out on first use: most dates are never looked at
};

} // namespace hearthix
