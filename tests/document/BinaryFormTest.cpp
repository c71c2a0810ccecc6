#include "runtime/values/Exceptions.hpp"
#include "tests/document/DocumentTest.hpp"

namespace hearthix::testing {
namespace {

const std::string kHeader = "4B 62 64 62 41 4C 20 20";
// A root with a=1 and an empty child named unit.
const std::string kExample =
    kHeader + "56 01 00 00 00 61 01 00 00 00 31  4F 04 00 00 00 75 6E 69 74" + kHeader + "45 45";

using BinaryForm = DocumentTest;
using Depth = DocumentTest;

TEST_F(BinaryForm, IsWrittenByteByByte) {
    EXPECT_EQ(plain(CXML().SaveToString()), bytesOf(kHeader + "45"));
    const auto example = node("not written", {{"a", "1"}}, {node("unit", {})});
    EXPECT_EQ(plain(example->SaveToString()), bytesOf(kExample));
    EXPECT_EQ(example->SaveToString().encoding(), TextEncoding::none);
    const auto odd = node("", {{"\xC3\xA4", ""}, {"", std::string("\0V", 2)}});
    EXPECT_EQ(plain(odd->SaveToString()),
              bytesOf(kHeader + "56 02000000 C3A4 00000000  56 00000000 02000000 0056 45"));
    const auto block = Ref<MemoryBlock>::make(untagged("12"));
    const auto stream = Ref<BinaryStream>::make(block);
    stream->LittleEndian = false;
    stream->setPosition(1);
    CXML().SaveToBinaryData(stream);
    EXPECT_TRUE(stream->LittleEndian);
    EXPECT_EQ(plain(block->toString()), "1KbdbAL  E");
}

// Documents and the trees that are read from them, up to an exception if there is one.
TEST_F(BinaryForm, AcceptsUnusualDocuments) {
    const auto expectTree = [](const std::string& hex, const char* text, bool raises = false) {
        CXML document;
        EXPECT_EQ(loadRaises(document, bytesOf(hex)), raises) << hex;
        EXPECT_EQ(textOf(document), text) << hex;
    };
    const std::string a1 = "56 01000000 61 01000000 31 ";
    const std::string child = "4F 01000000 63 ";
    expectTree(kExample, "a=1 unit{} ");
    expectTree("4B 62 64 62 30 4C 20 20" + a1 + "45", "a=1 ");
    expectTree("4B 62 64 62 42 4C 20 20" + a1 + "45", "", true);
    expectTree("4B 62 64 63 41 4C 20 20 45", "", true);
    expectTree("4B 62 64 62 41 42 20 20 56 00000001 61 00000001 31 45", "a=1 ");
    // The byte order of the child applies, and without a mark that of the root.
    expectTree("4B 62 64 62 41 42 20 20 4F 00000001 63" + kHeader + "45" + a1 + "45", "a=1 c{} ");
    expectTree(kHeader + child + "4B 62 64 62 41 42 20 20 45 56 00000001 61 00000001 31 45", "a=1 c{} ");
    expectTree(kHeader + child + "4B 62 64 62 41 00 20 20" + a1 + "4545", "c{a=1 } ");
    expectTree(kHeader + child + kHeader + "45" + a1 + "45", "a=1 c{} ");
    expectTree(kHeader + "00 FF" + a1 + "65 76 6F 0A" + "45", "a=1 "); // junk, small letters among it
    expectTree(kHeader + a1 + child + "4B 62 64 00" + a1, "a=1 c{} ", true);
    expectTree(kHeader + child + kHeader + a1 + child + "4B 62 64 62 42", "c{a=1 c{} } ", true);
    expectTree(kHeader + "56 01000000 61 FFFFFFFF 31", "a=1 ");
    EXPECT_EQ(logged, (std::vector<std::string>{"read error unable to get byte order"}));
}

TEST_F(BinaryForm, TagsTextsAndStopsAtTheEndTag) {
    CXML document;
    const auto stream = Ref<BinaryStream>::make(untagged("xx" + bytesOf(kExample) + "rest"));
    stream->setPosition(2);
    document.LoadFromBinaryStream(stream);
    EXPECT_EQ(stream->Position(), 2 + 38);
    for (const String& text : {document.GetKeyByIndex(0), document.GetStringValue("a", "")})
        EXPECT_EQ(text.encoding(), TextEncoding::utf8);
    EXPECT_EQ(document.GetContainer("UNIT", 1)->Name.encoding(), TextEncoding::none);
}

TEST_F(BinaryForm, CarriesLongTexts) {
    CXML document;
    document.loadFromString(node("", {{"k", std::string(70'000, 'x')}})->SaveToString());
    EXPECT_EQ(document.GetStringValue("k").size(), 70'000U);
}

TEST_F(BinaryForm, AddsToTheExistingContent) {
    const auto document = node("", {{"A", "old"}, {"b", "2"}});
    document->loadFromString(untagged(bytesOf(kExample)));
    document->loadFromString(untagged(bytesOf(kExample)));
    for (const char* ignored : {"", "Kbd", "<?xml version=\"1.0\"?>"})
        document->loadFromString(ignored);
    EXPECT_EQ(textOf(*document), "A=1 b=2 unit{} unit{} ");
    EXPECT_THROW(document->loadFromString("KBDBB"), RuntimeException);
}

TEST_F(BinaryForm, IsReadUpToWhereItIsCutOff) {
    const std::string whole = bytesOf(kExample);
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        CXML document;
        // Only an incomplete magic raises: at 0, and at 28 after the name of the child.
        EXPECT_EQ(loadRaises(document, whole.substr(0, cut)), cut < 4 || (cut >= 20 && cut < 32)) << cut;
        std::string text = cut < 9 ? "" : cut < 14 ? "= " : cut < 19 ? "a= " : "a=1 ";
        if (cut > 19)
            text += std::string("unit").substr(0, std::max<std::size_t>(cut, 24) - 24) + "{} ";
        EXPECT_EQ(textOf(document), text) << cut;
    }
}

TEST_F(BinaryForm, AllocatesNothingForALengthWithoutBytes) {
    for (const char* entry : {"56 FFFFFFFF 61", "56 01000000 61 FFFFFFFF 61", "4F F0FFFFFF 61"}) {
        const std::string bytes = bytesOf(kHeader + entry);
        CXML document;
        largestAllocation = 0;
        loadRaises(document, bytes);
        EXPECT_LT(largestAllocation, 64U * 1024) << entry;
        EXPECT_GT(largestAllocation, 0U) << "nothing is counted";
    }
}

// The stack has two or three bytes per level.
constexpr std::size_t kLevels = 200'000;

std::size_t levelsOf(const CXML& root) {
    std::size_t levels = 0;
    for (const CXML* at = &root; at->Containers.Ubound() > 0 && at->Containers[1];
         at = at->Containers[1].get())
        ++levels;
    return levels;
}

TEST_F(Depth, HasNoLimit) {
    const Lowered stack(RLIMIT_STACK, 512 * 1024); // enough for a loop, also with sanitizers
    auto root = nested(kLevels);
    const String bytes = root->SaveToString();
    EXPECT_TRUE(root->SaveToFile(item("deep")));
    auto again = Ref<CXML>::make();
    again->loadFromFile(item("deep"), nullptr);
    EXPECT_EQ(levelsOf(*again), kLevels);
    EXPECT_EQ(again->SaveToString().view(), bytes.view());
    again = root->Clone();
    EXPECT_EQ(levelsOf(*again), kLevels);
    // A part with another owner survives completely.
    const Ref<CXML> inner = again->Containers[1]->Containers[1];
    again = nullptr;
    EXPECT_EQ(levelsOf(*inner), kLevels - 2);
    root->Release();
    EXPECT_EQ(levelsOf(*root), 0U);
    // Half of the bytes: without end tags, and perhaps with an incomplete header.
    loadRaises(*root, bytes.view().substr(0, bytes.size() / 2));
    EXPECT_EQ(root->Containers.Ubound(), 2);
}

} // namespace
} // namespace hearthix::testing
