#include "runtime/text/StringFunctions.hpp"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace hearthix {
namespace {

using namespace std::string_view_literals;

std::string letters(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += static_cast<char>('a' + i % 26);
    return text;
}

TEST(String, SharesItsMemoryWithCutsAndGrowsInPlace) {
    String text(letters(100));
    text.append(letters(20)); // doubles the capacity
    const char* start = text.view().data();
    String half = text.cut(20), less = text.cut(21);
    text.append(letters(40));
    EXPECT_EQ(text.view().data(), start);
    half.compact();
    EXPECT_EQ(half.view().data(), start + 20);
    less.compact();
    EXPECT_NE(less.view().data(), start + 21) << "less than half of the memory";
}

TEST(String, ConcatenationKeepsEqualTags) {
    const String utf8 = "a", latin1("b"sv, TextEncoding::latin1), none("c"sv), empty;
    using Case = std::tuple<String, String, TextEncoding>;
    for (const auto& [left, right, tag] :
         {Case(utf8, utf8, TextEncoding::utf8), Case(utf8, none, TextEncoding::none),
          Case(none, utf8, TextEncoding::none), Case(latin1, utf8, TextEncoding::none),
          Case(empty, utf8, TextEncoding::utf8), Case(latin1, empty, TextEncoding::latin1)}) {
        String text = left;
        text += right;
        EXPECT_EQ(Encoding(text), tag) << text.view();
        EXPECT_EQ(Encoding(left + right), tag) << text.view();
    }
}

// Strings that share memory in every way, and plain copies of what each should contain.
TEST(String, BehavesLikePlainCopiesUnderRandomUse) {
    std::minstd_rand random;
    std::array<String, 6> texts{String(letters(20))};
    std::array<std::string, 6> models{letters(20)};
    for (int i = 0; i < 20000; ++i) {
        const std::size_t from = random() % texts.size();
        const std::size_t to = random() % texts.size();
        const std::size_t size = random() % 40;
        const std::size_t at = random() % (models[from].size() + 1);
        const std::size_t action = models[to].size() > 2000 ? 0 : random() % 5;
        const String part = action == 1 ? texts[from] : texts[from].cut(at, size);
        const std::string copy = action == 1 ? models[from] : models[from].substr(at, size);
        texts[to] = action < 2    ? part
                    : action == 2 ? texts[to] + part
                    : action == 3 ? texts[to].append(part)
                                  : texts[to];
        models[to] = action < 2   ? copy
                     : action < 4 ? models[to] + copy
                                  : models[to].substr(std::min(size, models[to].size()));
        if (action == 4)
            texts[to].removeFront(size);
        texts[random() % texts.size()].compact();
        for (std::size_t each = 0; each < texts.size(); ++each)
            ASSERT_EQ(texts[each].view(), models[each]) << i;
    }
}

TEST(String, EqualityIgnoresTheCaseOfAsciiLettersOnly) {
    using Case = std::tuple<std::string_view, std::string_view, bool>;
    for (const auto& [left, right, equal] :
         {Case("Kbdb", "kBDB", true), Case("", "", true), Case("a", "", false), Case("[", "{", false),
          Case("@", "`", false), Case("\xC4", "\xE4", false), Case("a\0b"sv, "A\0B"sv, true),
          Case("a\0b"sv, "a\0c"sv, false)}) {
        EXPECT_EQ(String(left) == String(right), equal) << left << " " << right;
        EXPECT_EQ(isLessIgnoringCase(left, right) || isLessIgnoringCase(right, left), !equal) << left;
    }
}

} // namespace
} // namespace hearthix
