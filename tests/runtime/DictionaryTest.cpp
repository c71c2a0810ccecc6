#include "runtime/values/Dictionary.hpp"

#include "runtime/files/MemoryBlock.hpp"
#include "runtime/text/Numbers.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace hearthix {
namespace {

// The parameter is a number of other entries: without and with an index.
class DictionaryOfSize : public testing::TestWithParam<Integer> {
protected:
    DictionaryOfSize() {
        for (Integer i = 0; i < GetParam(); ++i)
            table.SetValue(1000 + i, i);
    }
    Dictionary table;
};
INSTANTIATE_TEST_SUITE_P(Dictionary, DictionaryOfSize, testing::Values(0, 20));

TEST_P(DictionaryOfSize, FindsEveryKindOfKeyAndIgnoresTheCaseOfAsciiLetters) {
    const Variant object = Ref<MemoryBlock>::make();
    const std::vector<Variant> keys = {"mcmd", 21,     "21", true,   false, Variant(),
                                       5.5,    object, "",   "mcme", "\xE4"};
    for (const Variant& key : keys)
        table.SetValue(key, &key - keys.data());
    for (const Variant& key : keys)
        EXPECT_EQ(table.Value(key).asInteger(), &key - keys.data());
    table.SetValue("MCMD", 99);
    EXPECT_EQ(table.Value("McMd").asInteger(), 99);
    EXPECT_EQ(table.Key(GetParam()).asString().view(), "mcmd");
    for (const Variant& key : {Variant("\xC4"), Variant(5.0), Variant(22), Variant(Ref<MemoryBlock>::make())})
        EXPECT_THROW(table.Value(key), KeyNotFoundException);
    EXPECT_THROW(table.Remove("absent"), KeyNotFoundException);
    EXPECT_THROW(table.Key(table.Count()), OutOfBoundsException);
    EXPECT_THROW(table.ValueAt(-1), OutOfBoundsException);
}

TEST_P(DictionaryOfSize, IsEmptyAfterClearAndCanBeFilledAgain) {
    table.Clear();
    EXPECT_FALSE(table.HasKey(1000));
    for (Integer i = 0; i < 30; ++i) {
        EXPECT_EQ(table.Count(), i);
        table.SetValue(1000 - i,
                       table.Count() > 0 ? table.ValueAt(0) : "longer than a string without a block");
        EXPECT_TRUE(table.Value(1000 - i) == table.ValueAt(0)) << "the entries have moved";
    }
}

TEST(Dictionary, BehavesLikeAListUnderRandomUse) {
    for (const unsigned range : {6U, 12U, 30U, 300U}) { // with 12 keys an index is made now and then
        std::minstd_rand random(range);
        Dictionary table;
        std::vector<std::pair<unsigned, Integer>> model;
        for (Integer step = 0; step < 20000; ++step) {
            const auto number = static_cast<unsigned>(random() % range);
            const Variant key =
                number % 3 == 0 ? Variant(number) : concat(step % 2 == 0 ? "K" : "k", Str(number));
            const auto at = std::find_if(model.begin(), model.end(),
                                         [number](const auto& each) { return each.first == number; });
            ASSERT_EQ(table.HasKey(key), at != model.end()) << number;
            if (random() % 3 != 0) {
                table.SetValue(key, step);
                (at == model.end() ? model.emplace_back(number, 0) : *at).second = step;
            } else if (at != model.end()) {
                table.Remove(key);
                model.erase(at);
            }
            ASSERT_EQ(table.Count(), std::ssize(model));
            for (std::size_t i = 0; step % 500 == 0 && i < model.size(); ++i)
                ASSERT_EQ(table.ValueAt(static_cast<Integer>(i)).asInteger(), model[i].second);
        }
    }
}

TEST(Variant, ConvertsToNumbersAndObjects) {
    EXPECT_EQ(Variant("12x").toInteger(), 12);
    EXPECT_EQ(Variant(-2.5).toInteger(), -2);
    EXPECT_EQ(Variant().toInteger(), 0);
    EXPECT_EQ(Variant(1).asString().view(), "");
    const auto object = Ref<Dictionary>::make();
    EXPECT_EQ(Variant(object).objectAs<Dictionary>(), object.get());
    EXPECT_EQ(Variant(object).objectAs<MemoryBlock>(), nullptr);
}

} // namespace
} // namespace hearthix
