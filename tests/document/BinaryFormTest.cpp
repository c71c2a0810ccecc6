#include "runtime/Exceptions.hpp"
#include "tests/document/DocumentTest.hpp"
#include "tests/document/Faults.hpp"

#include <random>

namespace hearthix::testing {
namespace {

const char* const kHeader = "4B 62 64 62 41 4C 20 20";
// A root with a=1 and an empty child named unit.
const char* const kExample =
    "4B 62 64 62 41 4C 20 20  56 01 00 00 00 61 01 00 00 00 31  4F 04 00 00 00 75 6E 69 74"
    "4B 62 64 62 41 4C 20 20 45  45";
const char* const kExampleText = "(1) value keys\n    a=1\n    Container: unit (0) value keys\n";

using BinaryForm = DocumentTest;

TEST_F(BinaryForm, IsWrittenByteByByte) {
    EXPECT_EQ(plain(CXML().SaveToString()), bytesOf(std::string(kHeader) + "45"));
    const auto example = node("not written", {{"a", "1"}}, {node("unit", {})});
    EXPECT_EQ(plain(example->SaveToString()), bytesOf(kExample));
    EXPECT_EQ(example->SaveToString().encoding(), TextEncoding::none);
    const auto odd = node("", {{"\xC3\xA4", ""}, {"", std::string("\0V", 2)}});
    EXPECT_EQ(plain(odd->SaveToString()),
              bytesOf(std::string(kHeader) + "56 02 00 00 00 C3 A4 00 00 00 00"
                                             "56 00 00 00 00 02 00 00 00 00 56 45"));
    const auto block = Ref<MemoryBlock>::make(untagged("12"));
    const auto stream = Ref<BinaryStream>::make(block);
    stream->LittleEndian = false;
    stream->setPosition(1);
    CXML().SaveToBinaryData(stream);
    EXPECT_TRUE(stream->LittleEndian);
    EXPECT_EQ(plain(block->toString()), "1KbdbAL  E");
}

// What comes out of bytes: the tree, or what was read ahead of an exception.
TEST_F(BinaryForm, IsReadForgivingly) {
    struct Case {
        const char* name;
        std::string hex;
        const char* text;
        bool raises = false;
    };
    const std::string header = kHeader;
    const std::string a1 = "56 01000000 61 01000000 31 ";
    const std::string a2 = "56 01000000 41 01000000 32 ";
    const std::string child = "4F 01000000 63 " + header;
    const char* const kNothing = "(0) value keys\n";
    const char* const kA1 = "(1) value keys\n    a=1\n";
    const Case cases[] = {
        {"example", kExample, kExampleText},
        {"magic in other case", "6B 42 44 42 41 4C 00 00 45", kNothing},
        {"older version", "4B 62 64 62 30 4C 20 20" + a1 + "45", kA1},
        {"newer version", "4B 62 64 62 42 4C 20 20" + a1 + "45", kNothing, true},
        {"no magic", "4B 62 64 63 41 4C 20 20 45", kNothing, true},
        {"highest byte first", "4B 62 64 62 41 42 20 20 56 00000001 61 00000001 31 45", kA1},
        {"child's order stays", "4B 62 64 62 41 42 20 20 4F 00000001 63" + header + "45" + a1 + "45",
         "(1) value keys\n    a=1\n    Container: c (0) value keys\n"},
        {"root's order holds in a child without a mark",
         header + "4F 01000000 63 4B626462 41 00 2020" + a1 + "4545",
         "(0) value keys\n    Container: c (1) value keys\n        a=1\n"},
        {"child ahead of a value", header + child + "45" + a1 + "45",
         "(1) value keys\n    a=1\n    Container: c (0) value keys\n"},
        {"junk between entries", header + "00 FF" + a1 + "65 76 6F 0A" + "45", kA1},
        {"key twice", header + a1 + a2 + "45", "(1) value keys\n    a=2\n"},
        {"only a header", header, kNothing},
        {"no end tags", header + child + a1,
         "(0) value keys\n    Container: c (1) value keys\n        a=1\n"},
        {"bytes behind the end", header + a1 + "45" + a2, kA1},
        {"bad child", header + a1 + "4F 01000000 63 4B 62 64 00" + a2,
         "(1) value keys\n    a=1\n    Container: c (0) value keys\n", true},
        {"bad grandchild", header + child + a1 + "4F 01000000 67 4B 62 64 62 42",
         "(0) value keys\n    Container: c (1) value keys\n        a=1\n        Container: g (0) value "
         "keys\n",
         true},
        {"length beyond the end", header + "56 01000000 61 FFFFFFFF 31", kA1},
    };
    for (const Case& c : cases) {
        CXML document;
        EXPECT_EQ(loadRaises(document, bytesOf(c.hex)), c.raises) << c.name;
        EXPECT_EQ(textOf(document), c.text) << c.name;
    }
    EXPECT_EQ(logged, (std::vector<std::string>{"read error unable to get byte order"}))
        << "the one without a mark";
}

TEST_F(BinaryForm, TagsWhatItReadAndLeavesTheRest) {
    CXML document;
    const auto stream = Ref<BinaryStream>::make(untagged("xx" + bytesOf(kExample) + "rest"));
    stream->setPosition(2);
    document.LoadFromBinaryStream(stream);
    EXPECT_EQ(stream->Position(), 2 + 38);
    EXPECT_EQ(document.GetKeyByIndex(0).encoding(), TextEncoding::utf8);
    EXPECT_EQ(document.GetStringValue("a", "").encoding(), TextEncoding::utf8);
    EXPECT_EQ(document.GetContainer("UNIT", 1)->Name.encoding(), TextEncoding::none);
}

TEST_F(BinaryForm, MergesIntoWhatIsThere) {
    const auto document = node("", {{"A", "old"}, {"b", "2"}});
    document->loadFromString(untagged(bytesOf(kExample)));
    document->loadFromString(untagged(bytesOf(kExample)));
    EXPECT_EQ(textOf(*document), "(2) value keys\n    A=1\n    b=2\n    Container: unit (0) value keys\n"
                                 "    Container: unit (0) value keys\n");
    for (const char* ignored : {"", "Kbd", "<?xml version=\"1.0\"?>"})
        document->loadFromString(ignored);
    EXPECT_EQ(document->GetContainerCount("unit"), 2);
    EXPECT_THROW(document->loadFromString("KBDBB"), RuntimeException);
}

TEST_F(BinaryForm, EndsQuietlyWhereverItIsCut) {
    const std::string whole = bytesOf(kExample);
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        CXML document;
        // Of a magic that has begun all four bytes are needed, at 0 and, behind the child's name, at 28.
        const bool raises = cut < 4 || (cut >= 20 && cut < 32);
        EXPECT_EQ(loadRaises(document, whole.substr(0, cut)), raises) << cut;
        EXPECT_EQ(document.GetKeyCount(), cut > 8 ? 1 : 0) << cut;
        EXPECT_EQ(plain(document.GetStringValue("a", "none")), cut < 14   ? "none"
                                                               : cut < 19 ? ""
                                                                          : "1")
            << cut;
        ASSERT_EQ(document.Containers.Ubound(), cut > 19 ? 1 : 0) << cut;
        if (cut > 23) {
            EXPECT_EQ(plain(document.Containers[1]->Name), std::string("unit").substr(0, cut - 24)) << cut;
        }
    }
}

TEST_F(BinaryForm, NeverAllocatesForALengthAlone) {
    for (const char* entry : {"56 FFFFFFFF 61", "56 01000000 61 FFFFFFFF 61", "4F F0FFFFFF 61"}) {
        const String bytes = untagged(bytesOf(std::string(kHeader) + entry));
        CXML document;
        faults::largestAllocation = 0;
        loadRaises(document, bytes);
        EXPECT_LT(faults::largestAllocation, 64U * 1024) << entry;
        EXPECT_GT(faults::largestAllocation, 0U) << "it isn't counted";
    }
}

class Trees {
public:
    Ref<CXML> tree(int depth) {
        Pairs values;
        for (std::size_t i = below(5); i > 0; --i)
            values.emplace_back(text(), text());
        std::vector<Ref<CXML>> children;
        for (std::size_t i = depth > 0 ? below(4) : 0; i > 0; --i)
            children.push_back(tree(depth - 1));
        return node(text(), values, children);
    }
    std::size_t below(std::size_t limit) { return random_() % limit; }

private:
    std::string text() {
        std::string bytes(below(12) == 0 ? below(5000) : below(6), '\0');
        for (char& byte : bytes)
            byte = "\0VOE \n\xC3\xA4k"[below(9)];
        return bytes;
    }

    std::mt19937 random_{20300};
};

TEST_F(BinaryForm, BringsRandomTreesBack) {
    Trees trees;
    for (int i = 0; i < 300; ++i) {
        const auto tree = trees.tree(5);
        const String bytes = tree->SaveToString();
        CXML again;
        again.loadFromString(bytes);
        ASSERT_EQ(textOf(again), textOf(*tree)) << i;
        ASSERT_EQ(again.SaveToString().view(), bytes.view()) << i;
        ASSERT_EQ(textOf(*tree->Clone()), textOf(*tree)) << i;
        // Damage may raise the one exception and nothing else, and leaves a tree that can be used.
        std::string damaged = plain(bytes);
        for (int hits = 0; hits < 3; ++hits)
            damaged[trees.below(damaged.size())] = static_cast<char>(trees.below(256));
        CXML survivor;
        loadRaises(survivor, damaged);
        ASSERT_EQ(textOf(*survivor.Clone()), textOf(survivor));
    }
}

} // namespace
} // namespace hearthix::testing
