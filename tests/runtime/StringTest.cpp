#include "Rows.hpp"
#include "runtime/text/Base64.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace hearthix {
namespace {

using namespace std::string_view_literals;

std::string letters(std::size_t count, char first = 'a') {
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += static_cast<char>(first + static_cast<char>(i % 26));
    return text;
}

TEST(String, SharesItsBlockWithCutsAndGrowsInPlace) {
    String text(letters(100));
    text.reserve(1000);
    const char* start = text.data();
    const String tail = text.cut(40);
    text.append(letters(800));
    EXPECT_EQ(text.data(), start);
    EXPECT_EQ(tail.data(), start + 40);
    String some = text.cut(500, 50), most = text.cut(1);
    some.compact();
    EXPECT_NE(some.data(), start + 500);
    most.compact();
    EXPECT_EQ(most.data(), start + 1) << "too little to gain";
}

TEST(String, JoinsTags) {
    const String utf8 = "a", latin1("b", Encodings::ISOLatin1), none("c"sv), empty;
    for (const auto& [left, right, want] :
         {std::tuple(utf8, utf8, 1), std::tuple(utf8, none, 0), std::tuple(none, utf8, 0),
          std::tuple(latin1, utf8, 0), std::tuple(empty, utf8, 1), std::tuple(latin1, empty, 2)}) {
        String text = left;
        EXPECT_EQ(static_cast<int>(Encoding(left + right)), want) << left.view() << "+" << right.view();
        EXPECT_EQ(static_cast<int>((text += right).encoding()), want) << left.view() << "+" << right.view();
    }
}

// A few strings that come to share blocks in every way, and plain copies of what each should hold.
struct StringPool {
    static constexpr std::size_t kCount = 8;
    std::minstd_rand random;
    String texts[kCount];
    std::string models[kCount];

    void step() {
        const std::size_t to = random() % kCount, from = random() % kCount, size = random() % 40;
        String& text = texts[to];
        std::string& model = models[to];
        const std::string source = models[from];
        const std::size_t at = random() % (source.size() + 2), inside = std::min(at, source.size()),
                          half = model.size() / 2;
        switch (random() % 10) {
        case 0: text = texts[from], model = source; break;
        case 1: text = texts[from].cut(at, size), model = source.substr(inside, size); break;
        case 2: text = texts[from].cut(at), model = source.substr(inside); break;
        case 3: text += texts[from], model += source; break;
        case 4: text = concat(text, texts[from], "!"), model += source + "!"; break;
        case 5: text.append(letters(size)), model += letters(size); break;
        case 6: text.removeFront(size), model.erase(0, size); break;
        case 7: text.reserve(size * 20), text = String(std::move(text)); break;
        case 8:
            text = String::build(size, TextEncoding::none,
                                 [&](char* target) { letters(size).copy(target, size); }),
            model = letters(size);
            break;
        default:
            text.replaceBytes(half, letters(model.size() - half, 'A')), text.compact();
            model.replace(half, std::string::npos, letters(model.size() - half, 'A'));
        }
        if (model.size() > 3000)
            text = String(), model.clear();
    }
};

TEST(String, AgreesWithPlainCopiesUnderRandomUse) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        StringPool pool{std::minstd_rand(seed), {}, {}};
        for (int i = 0; i < 1000; ++i) {
            pool.step();
            for (std::size_t at = 0; at < StringPool::kCount; ++at)
                ASSERT_EQ(pool.texts[at].view(), pool.models[at]) << seed << " " << i;
        }
    }
}

TEST(StringFunctions, CutBytesAndCharacters) {
    const String text = "abcdef", wide = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80z";
    expectRows({Row{LeftB(text, 9), text}, Row{LeftB(text, -1), ""}, Row{RightB(text, 2), "ef"},
                Row{RightB(text, 9), text}, Row{RightB(text, -1), ""}, Row{MidB(text, 6), "f"},
                Row{MidB(text, 7), ""}, Row{MidB(text, 0), text}, Row{MidB(text, INT64_MAX), ""},
                Row{MidB(text, INT64_MIN, INT64_MAX), text}, Row{MidB(text, 3, 2), "cd"},
                Row{MidB(text, 3, -2), ""}, Row{ChrB(256 + 65), "A"}, Row{ChrB(-1), "\xFF"}});
    expectRows({Row{Left(wide, 2), "a\xC3\xA4"}, Row{Left(wide, 99), wide}, Row{Left(wide, -1), ""},
                Row{Right(wide, 2), "\xF0\x9F\x98\x80z"}, Row{Right(wide, 99), wide},
                Row{Right(wide, INT64_MIN), ""}, Row{Mid(wide, 3, 1), "\xE2\x82\xAC"}, Row{Mid(wide, 6), ""},
                Row{Left(DefineEncoding(wide, TextEncoding::none), 2), "a\xC3"}});
    EXPECT_EQ(AscB(""), 0);
    EXPECT_EQ(AscB("\xFFz"), 255);
    EXPECT_EQ(Len(wide), 5);
    EXPECT_EQ(Len(DefineEncoding(wide, Encodings::ISOLatin1)), 11);
}

TEST(StringFunctions, MakeAndConvertCharacters) {
    const String wide = "a\xC3\xA4\xE2\x82\xAC\xC3";
    expectRows({Row{concat(Chr(0x41), Chr(0xE4), Chr(0x20AC), Chr(0x1F600)),
                    "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
                Row{concat(Chr(-1), Chr(0xD800), Chr(0x110000)), ""},
                Row{ConvertEncoding(wide, Encodings::ISOLatin1), "a\xE4??"},
                Row{ConvertEncoding(wide, Encodings::ASCII), "a???"},
                Row{ConvertEncoding(String("\xE4", Encodings::ISOLatin1), Encodings::UTF8), "\xC3\xA4"},
                Row{ConvertEncoding(wide, TextEncoding::none), wide}});
}

TEST(StringFunctions, CountABrokenSequenceByteByByte) {
    using Case = std::pair<const char*, Integer>;
    for (const auto& [text, length] :
         {Case("\x80\x80", 2), Case("\xC3", 1), Case("\xC3z", 2), Case("\xE2\x82", 2), Case("\xE2\x82z", 3),
          Case("\xF0\x9F\x98", 3), Case("\xC0\x80", 2), Case("\xF5\x80\x80\x80", 4), Case("\xC3\xC3\xA4", 2),
          Case("\xE0\x9F\xBF", 3), Case("\xE0\xA0\x80", 1), Case("\xED\x9F\xBF", 1), Case("\xED\xA0\x80", 3),
          Case("\xF0\x8F\xBF\xBF", 4), Case("\xF4\x8F\xBF\xBF", 1), Case("\xF4\x90\x80\x80", 4)}) {
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
                Row{Join(Split("a,b,,c,", ","), "-"), "a-b--c-"}, Row{Join({}, ","), ""},
                Row{ReplaceAll("aXbxc", "X", "--"), "a--b--c"}, Row{ReplaceAll("aaa", "aa", "a"), "aa"},
                Row{ReplaceAll("abc", "", "x"), "abc"}, Row{ReplaceAll("abc", "ABC", ""), ""}});
}

TEST(StringFunctions, CountAndFind) {
    const String wide = "\xC3\xA4\xC3\xB6.Ab";
    using Case = std::pair<Integer, Integer>;
    for (const auto& [got, want] :
         {Case(CountFields("", "."), 0), Case(CountFields("a", "."), 1), Case(CountFields("a.", "."), 2),
          Case(InStr(1, wide, "aB"), 4), Case(InStr(5, wide, "A"), 0), Case(InStr(1, wide, "\xC3\xB6"), 2),
          Case(InStr(2, "xx", "X"), 2), Case(InStr(9, "xx", "x"), 0), Case(InStr(1, "", "x"), 0),
          Case(InStrB(1, wide, "Ab"), 6), Case(InStrB(1, wide, "ab"), 0), Case(InStrB(7, wide, "b"), 7),
          Case(InStrB(9, wide, "b"), 0)})
        EXPECT_EQ(got, want);
}

TEST(StringFunctions, CompareWithoutCase) {
    using Case = std::tuple<std::string_view, std::string_view, bool>;
    for (const auto& [left, right, same] :
         {Case("Kbdb", "kBDB", true), Case("", "", true), Case("a", "", false), Case("[", "{", false),
          Case("@", "`", false), Case("\xC4", "\xE4", false), Case("a\0b"sv, "A\0B"sv, true),
          Case("a\0b"sv, "a\0c"sv, false)})
        EXPECT_EQ(String(left) == String(right), same) << left << " " << right;
}

TEST(Base64, GoesBothWays) {
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
