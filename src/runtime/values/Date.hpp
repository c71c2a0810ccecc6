// A moment on the local clock: a civil date and time without a zone, as the machine's user reads it.
//
// A new Date holds the present moment. The single fields can be set one by one; a field out of its range
// carries over into the next higher one (month 13 is January of the next year), and a day that the month
// lacks likewise. They carry when the date is read: month, day and year may be set in any order. A value
// type; "no date" is an empty std::optional.
#pragma once

#include "runtime/text/String.hpp"

#include <cstdint>
#include <optional>

namespace hearthix {

class Date {
public:
    // The present moment.
    Date();

    Integer Year() const { return civil().year; }
    Integer Month() const { return civil().month; }
    Integer Day() const { return civil().day; }
    Integer Hour() const { return localSeconds() / 3600 % 24; }
    Integer Minute() const { return localSeconds() / 60 % 60; }
    Integer Second() const { return localSeconds() % 60; }
    void setYear(Integer year);
    void setMonth(Integer month);
    void setDay(Integer day);
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
    struct Civil {
        Integer year;
        Integer month;
        Integer day;
    };

    // The conversion to local time is made on first use: most dates are never looked at.
    void resolve() const;
    void carry() const;
    Civil civil() const;
    // Seconds of the day.
    Integer localSeconds() const;
    // The date's fields, to be set; they carry with the next reading.
    Civil& fields();
    void setSecondsOfDay(Integer seconds);

    std::int64_t moment_; // nanoseconds of the wall clock at construction
    mutable bool resolved_ = false;
    mutable std::optional<Civil> fields_;   // set, and not yet carried into localDay_
    mutable std::int64_t localDay_ = 0;     // days from 1970-01-01 on the local clock
    mutable std::int64_t secondsOfDay_ = 0; // 0 to 86399
    mutable double fraction_ = 0;           // of a second
};

} // namespace hearthix
