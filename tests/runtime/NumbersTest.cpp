#include "runtime/text/Numbers.hpp"

#include "Rows.hpp"

#include <limits>

namespace hearthix {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Reading = std::pair<std::string, double>;

void expectVal(std::initializer_list<Reading> readings) {
    for (const auto& [text, value] : readings)
        EXPECT_EQ(Val(text), value) << text;
}

TEST(Numbers, ValReadsTheNumberAtTheStart) {
    expectVal({Reading("", 0), Reading("abc", 0), Reading("-", 0), Reading(".", 0), Reading("--5", 0),
               Reading("\t\r\n 7x", 7), Reading("-5.9abc", -5.9), Reading("+3", 3), Reading("-.5", -.5),
               Reading("5.", 5), Reading("12;34", 12), Reading("1,5", 1), Reading("1.5e", 1.5),
               Reading("1e+2z", 100), Reading("1E-2", .01), Reading("inf", 0), Reading("nan", 0),
               Reading("0x10", 0), Reading("9007199254740993", 9007199254740992.0)});
}

TEST(Numbers, ValReadsPrefixedNumbersAndRoundsThemOnce) {
    expectVal({Reading("&hFF", 255), Reading("&HfF.", 255), Reading(" &b00000010", 2), Reading("&B102", 2),
               Reading("&h", 0), Reading("&", 0), Reading("&o17", 0),
               Reading("&h374b163564352909", static_cast<double>(0x374b163564352909)),
               Reading("&h20000000000001", 0x1p53), Reading("&h20000000000003", 0x1.0000000000002p53),
               Reading("&h2000000000000100000001", 0x1.0000000000001p85),
               Reading("&b1" + std::string(53, '0') + "1", 0x1p54),
               Reading("&h1" + std::string(400, '0'), kInfinity)});
}

TEST(Numbers, ValReadsNumbersOutOfTheRangeOfADouble) {
    const std::string zeros(400, '0');
    expectVal({Reading("1e999", kInfinity), Reading("-1e999", -kInfinity), Reading("1e-999", 0),
               Reading("0e99999999999999999999", 0), Reading("1" + zeros, kInfinity), Reading(zeros + "7", 7),
               Reading("0." + zeros + "7", 0), Reading("1" + zeros + "e-400", 1),
               Reading("0." + zeros + "1e5", 0), Reading("1" + zeros + "e-999", 0),
               Reading("0." + zeros + "1e999", kInfinity)});
}

TEST(Numbers, ConversionsTruncateAndSaturate) {
    EXPECT_EQ(toInteger(kNaN), 0);
    EXPECT_EQ(toInteger(-1.9), -1);
    EXPECT_EQ(toInteger(9223372036854775808.0), INT64_MAX);
    EXPECT_EQ(toInteger(9223372036854774784.0), 9223372036854774784);
    EXPECT_EQ(ValInteger("-9223372036854775809"), INT64_MIN);
    EXPECT_EQ(ValInteger("1e999"), INT64_MAX);
    EXPECT_EQ(ValInteger("1.9"), 1);
    EXPECT_EQ(ValInteger("&hFFFFFFFFFFFFFFFF"), INT64_MAX);
    EXPECT_EQ(Bitwise::ShiftRight(0x80, 4), 8U);
    EXPECT_EQ(Bitwise::ShiftRight(UINT64_MAX, 64), 0U);
}

TEST(Numbers, IsNumericAcceptsWholeDecimalNumbersOnly) {
    for (const char* text :
         {"0", "1", "-1.5", "+.5", "5.", "\t 12 ", "007", "21.5\r\n", "99999999999999999999999"})
        EXPECT_TRUE(IsNumeric(text)) << text;
    for (const char* text :
         {"",     " ",   "-",   ".",   "+.",  "1e", "1e+",   "1 2", "1,5", "--1",  "1-",     "0x10",
          "&h10", "&b1", "inf", "nan", "abc", "1a", "1.2.3", "e5",  "1e5", "1E-5", "001e00", "12e345"})
        EXPECT_FALSE(IsNumeric(text)) << text;
    EXPECT_FALSE(IsNumeric(std::string_view("1\0", 2)));
}

TEST(Numbers, StrAndHexPrintPlainDigits) {
    expectRows({Row{Str(INT64_MIN), "-9223372036854775808"}, Row{Str(UINT64_MAX), "18446744073709551615"},
                Row{Str(std::uint8_t{65}), "65"}, Row{Str(5.0), "5"}, Row{Str(-0.0), "0"},
                Row{Str(0.1), "0.1"}, Row{Str(1e20), "100000000000000000000"}, Row{Hex(255), "FF"},
                Row{Hex(5), "5"}, Row{Hex(0), "0"}, Row{Hex(-1), "FFFFFFFFFFFFFFFF"}});
    for (const double value : {0.1, 1e300, -1.0 / 3, 5e-324})
        EXPECT_EQ(Val(Str(value)), value);
}

TEST(Numbers, FormatFollowsTheMask) {
    constexpr const char* kTen = "-#.##########";
    expectRows({Row{Format(4294967295.0, "#"), "4294967295"}, Row{Format(0, "#"), "0"},
                Row{Format(2.6, "#"), "3"}, Row{Format(-0.2, "#"), "0"}, Row{Format(100, "#"), "100"},
                Row{Format(46, "000"), "046"}, Row{Format(1234, "000"), "1234"}, Row{Format(-7, "00"), "-07"},
                Row{Format(-1.5, kTen), "-1.5"}, Row{Format(100, kTen), "100"},
                Row{Format(0.12345678949, kTen), "0.1234567895"}, Row{Format(1e-11, kTen), "0"},
                Row{Format(2.5, "#.00"), "2.50"}, Row{Format(9.999, "#.00"), "10.00"},
                Row{Format(kNaN, "000"), "000"}});
    EXPECT_EQ(Format(-kInfinity, kTen).size(), 310U); // the largest number
}

} // namespace
} // namespace hearthix
