#include "runtime/values/Date.hpp"

#include <gtest/gtest.h>

#include <stdlib.h>

namespace hearthix {
namespace {

// The wall clock shows a fixed moment.
class DateTest : public testing::Test {
protected:
    ~DateTest() override { clocks::setSourceForTest({}); }

    static void setNow(const char* zone, double seconds) {
        setenv("TZ", zone, 1);
        now_ = static_cast<clocks::Nanoseconds>(seconds * clocks::kSecond);
        clocks::setSourceForTest({.wall = [] { return now_; }});
    }

    static std::string text(const Date& date) {
        return std::string(concat(date.ShortDate(), " ", date.LongTime()));
    }

    static inline clocks::Nanoseconds now_ = 0;
};

TEST_F(DateTest, IsTheLocalTimeOfTheClock) {
    using Case = std::tuple<const char*, double, const char*, double>;
    for (const auto& [zone, utc, local, totalSeconds] :
         {Case("UTC0", 0, "1970-01-01 0:00:00", 2082844800),
          Case("XYZ-2", -7200, "1970-01-01 0:00:00", 2082844800),
          Case("XYZ-2", 1615107902, "2021-03-07 11:05:02", 3697959902),
          Case("EST5EDT,M3.2.0,M11.1.0", 1636264800, "2021-11-07 1:00:00", 3719091600),
          Case("UTC0", 951782400, "2000-02-29 0:00:00", 3034627200),
          Case("UTC0", 1615107902.25, "2021-03-07 9:05:02", 3697952702.25),
          Case("UTC0", -2082844800.25, "1903-12-31 23:59:59", -0.25),
          Case("UTC0", 4107542400, "2100-03-01 0:00:00", 6190387200)}) {
        setNow(zone, utc);
        EXPECT_EQ(text(Date()), local);
        EXPECT_NEAR(Date().TotalSeconds(), totalSeconds, 1e-6) << local;
    }
}

TEST_F(DateTest, CarriesAFieldOutOfRange) {
    using Case = std::tuple<void (Date::*)(Integer), Integer, const char*>;
    for (const auto& [set, value, result] :
         {Case(&Date::setMonth, 13, "2025-01-31 2:00:00"), Case(&Date::setMonth, 2, "2024-03-02 2:00:00"),
          Case(&Date::setMonth, -1, "2023-12-01 2:00:00"), Case(&Date::setMonth, 0, "2024-00-31 2:00:00"),
          Case(&Date::setDay, 32, "2024-02-01 2:00:00"), Case(&Date::setDay, -1, "2023-12-30 2:00:00"),
          Case(&Date::setDay, 0, "2024-01-00 2:00:00"), Case(&Date::setHour, 24, "2024-02-01 0:00:00"),
          Case(&Date::setMinute, -1, "2024-01-31 1:59:00"),
          Case(&Date::setMinute, 60 * 24 * 31, "2024-03-02 2:00:00"),
          Case(&Date::setSecond, 86400, "2024-02-01 2:00:00"),
          Case(&Date::setSecond, 59, "2024-01-31 2:00:59"), Case(&Date::setYear, 1904, "1904-01-31 2:00:00"),
          Case(&Date::setYear, 399'999'999, "399999999-01-31 2:00:00")}) {
        setNow("XYZ-2", 1706659200); // 2024-01-31 00:00 UTC
        Date date;
        (date.*set)(value);
        EXPECT_EQ(text(date), result);
        for (const Integer extreme : {INT64_MAX, INT64_MIN, INT64_MAX}) { // overflows nothing
            (date.*set)(extreme);
            text(date);
            date.TotalSeconds();
        }
    }
}

TEST_F(DateTest, CountsFromFieldsThatWereSet) {
    setNow("UTC0", 0.5);
    Date date;
    date.setDay(31); // in any order: February has no day 31 yet
    date.setMonth(12);
    date.setYear(2023);
    date.setHour(1);
    date.setMinute(2);
    EXPECT_EQ(date.TotalSeconds(), 3786829320.5);
    date.setSecond(3);
    EXPECT_EQ(date.TotalSeconds(), 3786829323) << "without the fraction";
    date.setMonth(0); // before January
    date.setDay(1);
    EXPECT_EQ(date.TotalSeconds(), 3752701323);
}

} // namespace
} // namespace hearthix
