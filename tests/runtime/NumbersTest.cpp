#include "runtime/text/Numbers.hpp"

#include "Rows.hpp"
#include "runtime/values/Clock.hpp"
#include "runtime/values/Date.hpp"
#include "runtime/values/Variant.hpp"

#include <limits>
#include <string>
#include <tuple>

#include <stdlib.h>
#include <time.h>

namespace hearthix {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void expectVal(std::initializer_list<std::pair<std::string, double>> cases) {
    for (const auto& [text, value] : cases)
        EXPECT_EQ(Val(text), value) << text;
}

TEST(Numbers, ValReadsTheNumberAtTheStart) {
    using Case = std::pair<std::string, double>;
    expectVal({Case("", 0), Case("abc", 0), Case("-", 0), Case(".", 0), Case("--5", 0), Case("\t\r\n 7x", 7),
               Case("-5.9abc", -5.9), Case("+3", 3), Case("-.5", -.5), Case("5.", 5), Case("12;34", 12),
               Case("1,5", 1), Case("1.5e", 1.5), Case("1e+2z", 100), Case("1E-2", .01), Case("inf", 0),
               Case("nan", 0)});
    expectVal({Case("&hFF", 255), Case("&HfF.", 255), Case("&b00000010", 2), Case("&B102", 2), Case("&h", 0),
               Case("&", 0), Case("&o17", 0), Case("0x10", 0), Case("1e999", kInfinity),
               Case("-1e999", -kInfinity), Case("1e-999", 0), Case("0e99999999999999999999", 0),
               Case("9007199254740993", 9007199254740992.0), Case("30000000000000000000000", 3e22)});
    expectVal({Case("&h374b163564352909", static_cast<double>(0x374b163564352909)),
               Case("&h20000000000001", 0x1p53), Case("&h20000000000003", 0x1.0000000000002p53),
               Case("&h2000000000000100000001", 0x1.0000000000001p85)});
    const std::string zeros(400, '0');
    expectVal({Case("1" + zeros, kInfinity), Case("-1" + zeros, -kInfinity), Case(zeros + "7", 7),
               Case("0." + zeros + "7", 0), Case("1" + zeros + "e-400", 1), Case("&h1" + zeros, kInfinity),
               Case("0" + std::string(400, '9'), kInfinity), Case("0." + zeros + "1e5", 0),
               Case("1" + zeros + "e-999", 0), Case("0." + zeros + "1e999", kInfinity)});
}

TEST(Numbers, ConversionsTruncateAndSaturate) {
    using Case = std::pair<Integer, Integer>;
    for (const auto& [got, want] :
         {Case(toInteger(kNaN), 0), Case(toInteger(-1.9), -1),
          Case(toInteger(9223372036854775808.0), INT64_MAX),
          Case(toInteger(9223372036854774784.0), 9223372036854774784),
          Case(ValInteger("-9223372036854775809"), INT64_MIN), Case(ValInteger("1e999"), INT64_MAX),
          Case(ValInteger("-1e999"), INT64_MIN), Case(ValInteger("1.9"), 1),
          Case(ValInteger("&hFFFFFFFFFFFFFFFF"), INT64_MAX),
          Case(ValInteger("9223372036854775807"), INT64_MAX), Case(Variant("12x").toInteger(), 12),
          Case(Variant(-2.5).toInteger(), -2), Case(Variant().toInteger(), 0)})
        EXPECT_EQ(got, want);
    EXPECT_EQ(Bitwise::ShiftRight(0x80, 4), 8U);
    EXPECT_EQ(Bitwise::ShiftRight(UINT64_MAX, 64), 0U);
}

TEST(Numbers, IsNumericTakesWholeDecimalNumbersOnly) {
    for (const char* text :
         {"0", "1", "-1.5", "+.5", "5.", "\t 12 ", "007", "21.5\r\n", "99999999999999999999999"})
        EXPECT_TRUE(IsNumeric(text)) << text;
    for (const char* text :
         {"",     " ",   "-",   ".",   "+.",  "1e", "1e+",   "1 2", "1,5", "--1",  "1-",     "0x10",
          "&h10", "&b1", "inf", "nan", "abc", "1a", "1.2.3", "e5",  "1e5", "1E-5", "001e00", "12e345"})
        EXPECT_FALSE(IsNumeric(text)) << text;
    EXPECT_FALSE(IsNumeric(std::string_view("1\0", 2)));
}

TEST(Numbers, PrintPlainlyAndByMask) {
    expectRows({Row{Str(INT64_MIN), "-9223372036854775808"}, Row{Str(UINT64_MAX), "18446744073709551615"},
                Row{Str(5.0), "5"}, Row{Str(-0.0), "0"}, Row{Str(0.1), "0.1"},
                Row{Str(1e20), "100000000000000000000"}, Row{Hex(255), "FF"}, Row{Hex(0), "0"},
                Row{Hex(-1), "FFFFFFFFFFFFFFFF"}});
    constexpr const char* kTen = "-#.##########";
    expectRows({Row{Format(4294967295.0, "#"), "4294967295"}, Row{Format(0, "#"), "0"},
                Row{Format(2.6, "#"), "3"}, Row{Format(-0.2, "#"), "0"}, Row{Format(46, "000"), "046"},
                Row{Format(1234, "000"), "1234"}, Row{Format(-7, "00"), "-07"},
                Row{Format(-1.5, kTen), "-1.5"}, Row{Format(100, kTen), "100"},
                Row{Format(0.12345678949, kTen), "0.1234567895"}, Row{Format(1e-11, kTen), "0"},
                Row{Format(2.5, "#.00"), "2.50"}, Row{Format(9.999, "#.00"), "10.00"},
                Row{Format(kNaN, "000"), "000"}});
    EXPECT_EQ(Format(-kInfinity, kTen).size(), 310U); // the largest number
    for (const double value : {0.1, 1e300, -1.0 / 3, 5e-324})
        EXPECT_EQ(Val(Str(value)), value);
}

// Dates by a wall clock that stands still.
class DateTest : public testing::Test {
protected:
    ~DateTest() override { clocks::replaceWallClock(nullptr); }

    static void setNow(const char* zone, clocks::Nanoseconds seconds, clocks::Nanoseconds fraction = 0) {
        setenv("TZ", zone, 1);
        now_ = seconds * 1'000'000'000 + fraction;
        clocks::replaceWallClock([] { return now_; });
    }

    static std::string text(const Date& date) {
        return std::string(concat(date.ShortDate(), " ", date.LongTime()));
    }

    static inline clocks::Nanoseconds now_ = 0;
};

TEST_F(DateTest, TellsTheLocalTime) {
    using Case = std::tuple<const char*, Integer, const char*, double>;
    for (const auto& [zone, utc, want, total] :
         {Case("UTC0", 0, "1970-01-01 0:00:00", 2082844800),
          Case("XYZ-2", -7200, "1970-01-01 0:00:00", 2082844800),
          Case("XYZ-2", 1615107902, "2021-03-07 11:05:02", 3697959902),
          Case("EST5EDT,M3.2.0,M11.1.0", 1636264800, "2021-11-07 1:00:00", 3719091600),
          Case("UTC0", 951782400, "2000-02-29 0:00:00", 3034627200),
          Case("UTC0", -2082844801, "1903-12-31 23:59:59", -1),
          Case("UTC0", 4107542400, "2100-03-01 0:00:00", 6190387200)}) {
        setNow(zone, utc);
        EXPECT_EQ(text(Date()), want);
        EXPECT_EQ(Date().TotalSeconds(), total) << want;
    }
    setNow("UTC0", 1615107902, 250'000'000);
    EXPECT_EQ(Date().TotalSeconds(), 3697952702.25);
}

TEST_F(DateTest, CarriesAFieldOutOfRange) {
    using Case = std::tuple<void (Date::*)(Integer), Integer, const char*>;
    for (const auto& [set, value, want] :
         {Case(&Date::setMonth, 13, "2025-01-31 2:00:00"), Case(&Date::setMonth, 2, "2024-03-02 2:00:00"),
          Case(&Date::setMonth, -1, "2023-12-01 2:00:00"), Case(&Date::setDay, 32, "2024-02-01 2:00:00"),
          Case(&Date::setDay, -1, "2023-12-30 2:00:00"), Case(&Date::setHour, 24, "2024-02-01 0:00:00"),
          Case(&Date::setMonth, 0, "2024-00-31 2:00:00"), Case(&Date::setDay, 0, "2024-01-00 2:00:00"),
          Case(&Date::setMinute, -1, "2024-01-31 1:59:00"),
          Case(&Date::setSecond, 86400, "2024-02-01 2:00:00"),
          Case(&Date::setYear, 1904, "1904-01-31 2:00:00")}) {
        setNow("XYZ-2", 1706659200); // 2024-01-31 00:00 UTC
        Date date;
        (date.*set)(value);
        EXPECT_EQ(text(date), want);
        (date.*set)(INT64_MAX); // ends somewhere far away, without overflow
        (date.*set)(INT64_MIN);
    }
}

} // namespace
} // namespace hearthix
