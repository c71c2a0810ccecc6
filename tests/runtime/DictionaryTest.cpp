#include "runtime/values/Dictionary.hpp"

#include "runtime/files/MemoryBlock.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/values/KeyHash.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace hearthix {
namespace {

TEST(Dictionary, MatchesStringKeysWithoutCaseAndKeepsOtherKindsApart) {
    for (const Integer others : {0, 20}) { // without an index and with one
        Dictionary table;
        for (Integer i = 0; i < others; ++i)
            table.SetValue(1000 + i, i);
        const auto object = Ref<Dictionary>::make();
        using Pair = std::pair<Variant, Variant>;
        for (const auto& [key, value] :
             {Pair("mcmd", object), Pair("MCMD", 1), Pair(21, 2), Pair("21", 3), Pair(true, 4),
              Pair(Variant(), 5), Pair(5.5, 6), Pair(object, 7), Pair("real", 8.5)})
            table.SetValue(key, value);
        EXPECT_EQ(object->referenceCount(), 2U); // as a key, and replaced as a value
        EXPECT_EQ(Variant(object).objectAs<MemoryBlock>(), nullptr);
        EXPECT_EQ(Variant(1).asString().view(), "");
        EXPECT_EQ(table.Count(), others + 8);
        EXPECT_EQ(table.Key(others).asString().view(), "mcmd");
        Array<Integer> values;
        for (const Variant& key : {Variant("McMd"), Variant(21), Variant("21"), Variant(true), Variant(),
                                   Variant(5.5), Variant(object), Variant("REAL")})
            values.Append(table.Value(key).toInteger());
        EXPECT_EQ(std::vector(values.begin(), values.end()), (std::vector<Integer>{1, 2, 3, 4, 5, 6, 7, 8}));
        for (const Variant& key : {Variant(1), Variant(""), Variant(false), Variant(5.0)})
            EXPECT_FALSE(table.HasKey(key));
        table.Remove("mCMD");
        EXPECT_THROW(table.Remove("mcmd"), KeyNotFoundException);
        EXPECT_THROW(table.Value("mcmd"), KeyNotFoundException);
        EXPECT_THROW(table.Key(table.Count()), OutOfBoundsException);
        EXPECT_THROW(table.ValueAt(-1), OutOfBoundsException);
    }
}

// A key of the letters that its bits pick.
std::string crafted(unsigned bits, const char* letters) {
    std::string key;
    for (unsigned i = 0; i < 12; ++i)
        key += letters[bits >> i & 1U];
    return key;
}

TEST(Dictionary, HashesApartWhatDiffersInMoreThanTheCaseOfLetters) {
    using Keys = std::string (*)(unsigned);
    using Case = std::pair<Keys, bool>;
    for (const auto& [key, apart] :
         {Case([](unsigned i) { return crafted(i, "aA") + crafted(i, "Zz"); }, false),
          Case([](unsigned i) { return crafted(i, "@`"); }, true),
          Case([](unsigned i) { return crafted(i, "[{"); }, true),
          Case([](unsigned i) { return crafted(i, "\xC1\xE1"); }, true),
          Case([](unsigned i) { return std::string(i, '\0'); }, true)}) {
        std::set<std::uint32_t> places, numbers;
        for (unsigned i = 0; i < 4096; ++i) {
            places.insert(hashIgnoringCase(key(i)) & 0xFFFU);
            numbers.insert(hashOfNumber(static_cast<Integer>(std::uint64_t{i} << 48U)) & 0xFFFU);
        }
        EXPECT_EQ(places.size() > 2000, apart) << key(5); // by chance some 2,600
        EXPECT_GT(numbers.size(), 1000U);
    }
}

TEST(Dictionary, TakesAValueThatStandsInItself) {
    const String text = "longer than what stands inside a string";
    Dictionary table;
    table.SetValue(Str(0), text);
    for (Integer i = 1; i < 20; ++i) // past several moves of the entries
        table.SetValue(Str(i), table.ValueAt(0).asString());
    EXPECT_EQ(table.ValueAt(19).asString(), text);
}

// What a table should hold: its keys' names and values, in the order of their entry.
using Model = std::vector<std::pair<std::string, Integer>>;

// A key of either kind; strings in a mix of cases.
std::pair<std::string, Variant> randomKey(std::minstd_rand& random, unsigned range) {
    const auto number = static_cast<unsigned>(random()) % range;
    if (number % 3 == 0)
        return {std::to_string(number), number};
    const std::string name = std::to_string(number) + " as a string";
    std::string mixed = name;
    for (char& letter : mixed)
        letter = random() % 2 == 0 ? static_cast<char>(std::toupper(letter)) : letter;
    return {name, String(mixed)};
}

TEST(Dictionary, AgreesWithAListUnderRandomUse) {
    for (const unsigned range : {6U, 12U, 30U, 300U}) { // 12: an index comes and goes
        std::minstd_rand random(range);
        Dictionary table;
        Model model;
        for (Integer step = 0; step < 20000; ++step) {
            const auto [name, key] = randomKey(random, range);
            const auto at = std::find_if(model.begin(), model.end(),
                                         [&wanted = name](const auto& each) { return each.first == wanted; });
            ASSERT_EQ(table.HasKey(key), at != model.end()) << name;
            if (random() % 3 != 0) {
                table.SetValue(key, step);
                (at == model.end() ? model.emplace_back(name, 0) : *at).second = step;
            } else if (at != model.end()) {
                table.Remove(key);
                model.erase(at);
            }
            ASSERT_EQ(table.Count(), static_cast<Integer>(model.size()));
            for (Integer i = 0; step % 500 == 0 && i < table.Count(); ++i) {
                ASSERT_EQ(table.ValueAt(i).asInteger(), model[static_cast<std::size_t>(i)].second);
                ASSERT_EQ(table.Value(table.Key(i)).asInteger(), model[static_cast<std::size_t>(i)].second);
            }
        }
    }
}

} // namespace
} // namespace hearthix
