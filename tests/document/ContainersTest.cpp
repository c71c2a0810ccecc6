#include "runtime/values/Exceptions.hpp"
#include "tests/document/DocumentTest.hpp"

namespace hearthix::testing {
namespace {

// A root with children named a, b, a; their value n is their position.
class Containers : public DocumentTest {
protected:
    Ref<CXML> root =
        node("", {}, {node("a", {{"n", "1"}}), node("b", {{"n", "2"}}), node("a", {{"n", "3"}})});

    std::string order() const {
        std::string all;
        for (std::int64_t i = 1; i <= root->Containers.Ubound(); ++i)
            all += plain(root->Containers[i]->GetStringValue("n"));
        return all;
    }
};

TEST_F(Containers, AreFoundByNameAndPosition) {
    using Case = std::tuple<const char*, Integer, const char*>; // with the value n; "" for no child
    for (const auto& [name, index, found] :
         {Case("A", 1, "1"), Case("A", 2, "3"), Case("A", 3, ""), Case("b", 1, "2"), Case("b", -1, ""),
          Case("c", 1, ""), Case("a", 0, ""), Case("b", 0, "1")}) {
        const auto child = root->GetContainer(name, index);
        EXPECT_EQ(child ? child->GetStringValue("n") : String(), found) << name << index;
    }
    EXPECT_EQ(root->GetContainerCount("A"), 2);
    EXPECT_EQ(root->GetContainerCount(""), 0);
    EXPECT_EQ(root->containersNamed("A").size(), 2U);
    EXPECT_TRUE(CXML().GetContainer("a", 0).isNil());
    for (const std::int64_t index : {-1, 4})
        EXPECT_THROW(root->Containers[index], OutOfBoundsException) << index;
}

TEST_F(Containers, AreReplacedAndRemoved) {
    root->InsertContainer(nullptr);
    root->removeContainer("a", 0);
    root->removeContainer("a", 3);
    root->ReplaceContainer("a", 0, node("x", {}));
    root->removeContainer(node("a", {}));
    EXPECT_EQ(order(), "123") << "nothing of this changes anything";
    root->ReplaceContainer("A", 2, node("c", {{"n", "4"}}));
    EXPECT_EQ(textOf(*root), "a{n=1 } b{n=2 } c{n=4 } ");
    root->removeContainer("A", 1);
    EXPECT_EQ(order(), "24");
    const auto twice = root->GetContainer("b", 1);
    root->InsertContainer(twice);
    root->removeContainer(twice);
    EXPECT_EQ(order(), "42") << "only the first of the two is removed";
    root->ReplaceContainer("c", 1, nullptr);
    EXPECT_THROW(root->GetContainerCount("b"), NilObjectException);
    root->removeContainer(Ref<CXML>());
    EXPECT_EQ(order(), "2");
}

TEST_F(Containers, AreDroppedByRelease) {
    const auto kept = root->GetContainer("b", 1);
    kept->InsertContainer(node("below", {}));
    root->SetStringValue("v", "1");
    root->Release();
    EXPECT_TRUE(kept->Containers[1].isNil()) << "all the way down";
    EXPECT_EQ(plain(root->SaveToString()), plain(node("", {{"v", "1"}})->SaveToString()));
    EXPECT_EQ(plain(root->getAsDebugData()),
              "(1) value keys\n    v=1\n    Container is nil at index 1\n"
              "    Container is nil at index 2\n    Container is nil at index 3\n");
    EXPECT_THROW(root->GetContainerCount("a"), NilObjectException);
    EXPECT_THROW(root->Clone(), NilObjectException);
}

TEST_F(Containers, ArePrintedAsText) {
    const auto tree =
        node("", {{"v", "two\nlines"}}, {node("a", {{"n", "1"}}, {node("", {})}), node("b", {})});
    EXPECT_EQ(plain(tree->getAsDebugData()),
              "(1) value keys\n    v=two\nlines\n    Container: a (1) value keys\n        n=1\n"
              "        Container:  (0) value keys\n    Container: b (0) value keys\n");
    EXPECT_THROW(root->saveToReadableString(nullptr, 0), NilObjectException);
    tree->DebugToLog();
    EXPECT_EQ(logged, (std::vector<std::string>{"--- begin debug", "v : two\nlines", "---end debug"}));
}

TEST_F(Containers, BlocksHaveAByteOrder) {
    for (const auto& [order, little] : {std::pair{"", true}, {"x", true}, {"b", false}})
        EXPECT_EQ(root->NewBinaryBlock(3, order)->LittleEndian, little) << order;
    EXPECT_EQ(root->SizeOfArray({root->NewBinaryBlock(3, "L"), root->NewBinaryBlock(1, "L")}), 4);
}

} // namespace
} // namespace hearthix::testing
