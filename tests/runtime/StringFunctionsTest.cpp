#include "runtime/text/StringFunctions.hpp"

#include "Rows.hpp"
#include "runtime/text/Base64.hpp"

namespace hearthix {
namespace {

using namespace std::string_view_literals;

TEST(StringFunctions, CutBytes) {
    const String text = "abcdef";
    expectRows({Row{LeftB(text, 9), text}, Row{LeftB(text, -1), ""}, Row{RightB(text, 2), "ef"},
                Row{RightB(text, 9), text}, Row{RightB(text, -1), ""}, Row{MidB(text, 6), "f"},
                Row{MidB(text, 7), ""}, Row{MidB(text, 0), text}, Row{MidB(text, INT64_MAX), ""},
                Row{MidB(text, INT64_MIN, INT64_MAX), text}, Row{MidB(text, 3, 2), "cd"},
                Row{MidB(text, 3, -2), ""}, Row{ChrB(256 + 65), "A"}, Row{ChrB(-1), "\xFF"}});
    EXPECT_EQ(AscB(""), 0);
    EXPECT_EQ(AscB("\xFFz"), 255);
}

TEST(StringFunctions, CutCharacters) {
    const String text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80z";
    expectRows({Row{Left(text, 2), "a\xC3\xA4"}, Row{Left(text, 99), text}, Row{Left(text, -1), ""},
                Row{Right(text, 2), "\xF0\x9F\x98\x80z"}, Row{Right(text, 99), text},
                Row{Right(text, INT64_MIN), ""}, Row{Mid(text, 3, 1), "\xE2\x82\xAC"}, Row{Mid(text, 6), ""},
                Row{Left(DefineEncoding(text, TextEncoding::none), 2), "a\xC3"}});
    EXPECT_EQ(Len(text), 5);
    EXPECT_EQ(Len(DefineEncoding(text, TextEncoding::latin1)), 11);
}

TEST(StringFunctions, MakeAndConvertCharacters) {
    const String latin1("\xE4", TextEncoding::latin1), untagged("\xE4"sv), utf8 = "\xC3\xA4";
    expectRows({Row{Chr(0x41), "A"}, Row{Chr(0x7F), "\x7F"}, Row{Chr(0x80), "\xC2\x80"}, Row{Chr(0xE4), utf8},
                Row{Chr(0x7FF), "\xDF\xBF"}, Row{Chr(0x800), "\xE0\xA0\x80"},
                Row{Chr(0x20AC), "\xE2\x82\xAC"}, Row{Chr(0x1F600), "\xF0\x9F\x98\x80"}, Row{Chr(-1), ""},
                Row{Chr(0xD800), ""}, Row{Chr(0x110000), ""},
                Row{ConvertEncoding(latin1, Encodings::UTF8), utf8},
                Row{ConvertEncoding(untagged, Encodings::UTF8), utf8},
                Row{ConvertEncoding(utf8, Encodings::UTF8), utf8},
                Row{ConvertEncoding(utf8, TextEncoding::none), utf8}});
    EXPECT_EQ(Encoding(ConvertEncoding(untagged, Encodings::UTF8)), Encodings::UTF8);
}

TEST(StringFunctions, CountEachByteOfABrokenSequence) {
    using Case = std::pair<const char*, Integer>;
    for (const auto& [text, length] :
         {Case("\x80\x80", 2), Case("\xC3", 1), Case("\xC3z", 2), Case("\xE2\x82", 2), Case("\xE2\x82z", 3),
          Case("\xF0\x9F\x98", 3), Case("\xC0\x80", 2), Case("\xF5\x80\x80\x80", 4), Case("\xC3\xC3\xA4", 2),
          Case("\xE0\x9F\xBF", 3), Case("\xE0\xA0\x80", 1), Case("\xED\x9F\xBF", 1), Case("\xED\xA0\x80", 3),
          Case("\xF0\x8F\xBF\xBF", 4), Case("\xF4\x8F\xBF\xBF", 1), Case("\xF4\x90\x80\x80", 4),
          Case("\xFF\xFF", 2)}) {
        EXPECT_EQ(Len(text), length) << testing::PrintToString(text);
        EXPECT_EQ((Left(text, 1) + Mid(text, 2)).view(), text);
        EXPECT_EQ((Left(text, length - 1) + Right(text, 1)).view(), text);
    }
}

TEST(StringFunctions, TrimSplitAndReplace) {
    expectRows({Row{Trim("\t\r\n\f\v a b \r\n"), "a b"}, Row{Trim(" \n "), ""},
                Row{Trim(String("\0 x"sv)), "\0 x"sv}, Row{NthField("a;b;;c", ";", 2), "b"},
                Row{NthField("a;b;;c", ";", 3), ""}, Row{NthField("a;b;;c", ";", 4), "c"},
                Row{NthField("a;b", ";", 3), ""}, Row{NthField("a;b", ";", 0), ""},
                Row{NthField("1XXtwoxx3", "xX", 3), "3"}, Row{NthField("abc", "", 1), "abc"},
                Row{NthField("abc", "", 2), ""}, Row{Join(Split("a,b,,c,", ","), "-"), "a-b--c-"},
                Row{Join({}, ","), ""}, Row{ReplaceAll("aXbxc", "X", "--"), "a--b--c"},
                Row{ReplaceAll("aaa", "aa", "a"), "aa"}, Row{ReplaceAll("abc", "", "x"), "abc"},
                Row{ReplaceAll("abc", "ABC", ""), ""}});
    EXPECT_EQ(Encoding(ReplaceAll("a", "a", String("\xFF"sv))), Encodings::UTF8);
}

TEST(StringFunctions, CountAndFind) {
    const String text = "\xC3\xA4\xC3\xB6.Ab"; // five characters, seven bytes
    EXPECT_EQ(CountFields("", "."), 0);
    EXPECT_EQ(CountFields("a", "."), 1);
    EXPECT_EQ(CountFields("a.", "."), 2);
    EXPECT_EQ(InStr(1, text, "aB"), 4);
    EXPECT_EQ(InStr(5, text, "A"), 0);
    EXPECT_EQ(InStr(2, "xx", "X"), 2);
    EXPECT_EQ(InStr(9, "xx", "x"), 0);
    EXPECT_EQ(InStr(1, "", "x"), 0);
    EXPECT_EQ(InStrB(1, text, "Ab"), 6);
    EXPECT_EQ(InStrB(1, text, "ab"), 0);
    EXPECT_EQ(InStrB(7, text, "b"), 7);
    EXPECT_EQ(InStrB(9, text, "b"), 0);
}

TEST(Base64, EncodesAndDecodes) {
    expectRows({Row{EncodeBase64("f", 0), "Zg=="}, Row{EncodeBase64("fo", 0), "Zm8="},
                Row{EncodeBase64("foobar", 0), "Zm9vYmFy"}, Row{EncodeBase64("foobar", 4), "Zm9v\r\nYmFy"},
                Row{EncodeBase64(String("\xFB\xFF\xBF"sv), 76), "+/+/"}, Row{DecodeBase64("Zg"), "f"},
                Row{DecodeBase64(" Z m\r\n9\tv!YmFy"), "foobar"}, Row{DecodeBase64("Zg==Zg=="), "f"},
                Row{DecodeBase64("="), ""}, Row{DecodeBase64("Z"), ""}});
    std::string all;
    for (int i = 0; i < 600; ++i) {
        EXPECT_EQ(DecodeBase64(EncodeBase64(String(all), i % 80)).view(), all);
        all += static_cast<char>(i * 7);
    }
}

} // namespace
} // namespace hearthix
