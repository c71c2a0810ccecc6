#include "runtime/values/Clock.hpp"
#include "tests/document/DocumentTest.hpp"

namespace hearthix::testing {
namespace {

using namespace std::string_view_literals;

class TypedValues : public DocumentTest {
protected:
    std::string stored() const { return plain(document.Values->Value("k").asString()); }

    CXML document;
};

TEST_F(TypedValues, AreStoredAsTheseTexts) {
    using Set = void (*)(CXML&);
    const std::pair<Set, const char*> cases[] = {
        {[](CXML& d) { d.SetStringValue("k", String("\xE4", TextEncoding::latin1)); }, "\xC3\xA4"},
        {[](CXML& d) { d.SetIntegervalue("k", INT64_MIN); }, "-9223372036854775808"},
        {[](CXML& d) { d.SetDoubleValue("k", -21.5); }, "-21.5"},
        {[](CXML& d) { d.SetDoubleValue("k", 0.12345678914); }, "0.1234567891"},
        {[](CXML& d) { d.SetBooleanValue("k", true); }, "true"},
        {[](CXML& d) { d.SetColorValue("k", RGB(255, 128, 0, 9)); }, "255, 128, 0"},
        {[](CXML& d) { d.SetBinaryValue("k", untagged("Hearthix")); }, "SGVhcnRoaXg="},
        {[](CXML& d) { d.SetFile("k", Ref<FolderItem>::make("/a/b")); }, "L2EvYg=="},
    };
    for (const auto& [set, text] : cases) {
        set(document);
        EXPECT_EQ(stored(), text);
        EXPECT_EQ(document.GetStringValue("k", "").encoding(), TextEncoding::utf8) << text;
    }
    document.setEncryptedStringValue("k", utf8(std::string(60, 'x')));
    EXPECT_TRUE(stored().starts_with(std::string_view("en\0eHh4", 7)));
    EXPECT_EQ(stored().find_first_of("\r\n"), 3U + 76U) << "lines of 76 letters";
    EXPECT_EQ(plain(document.GetStringValue("K")), std::string(60, 'x'));
}

TEST_F(TypedValues, ReadTextAsNumbersAndBooleans) {
    using Case = std::tuple<const char*, Integer, double, std::uint64_t>;
    constexpr double kHuge = 18446744073709549568.;
    for (const auto& [text, integer, number, bits] :
         {Case("", 0, 0, 0), Case("2.9", 2, 2.9, 2), Case("-2.9", -2, -2.9, UINT64_MAX - 1),
          Case("9223372036854775808", INT64_MAX, 9223372036854775808., 1ULL << 63U),
          Case("18446744073709549568", INT64_MAX, kHuge, 18446744073709549568U)}) {
        document.SetStringValue("k", text);
        EXPECT_EQ(document.GetIntegerValue("K", 7), integer) << "present, so no default: " << text;
        EXPECT_EQ(document.GetDoubleValue("K", 7), number) << text;
        EXPECT_EQ(document.GetUInt64Value("K", 7), bits) << text;
        EXPECT_FALSE(document.getBooleanValue("K", true)) << text;
    }
    for (const auto& [text, truth] : {std::pair{"TRUE", true}, {"true ", false}, {"1", false}}) {
        document.SetStringValue("k", text);
        EXPECT_EQ(document.GetBooleanValue("K"), truth) << text;
    }
    document.setEncryptedStringValue("k", "12");
    EXPECT_EQ(document.GetIntegerValue("k"), 0) << "read from the stored text, wrapped or not";
}

TEST_F(TypedValues, HaveDefaultsForAbsentKeys) {
    EXPECT_EQ(document.GetStringValue("x", "d").view(), "d");
    EXPECT_EQ(document.GetIntegerValue("x", -3), -3);
    EXPECT_EQ(document.GetDoubleValue("x", 0.5), 0.5);
    EXPECT_EQ(document.GetUInt64Value("x", UINT64_MAX), UINT64_MAX);
    EXPECT_TRUE(document.getBooleanValue("x", true));
    EXPECT_TRUE(document.getDate("x", Date()) && !document.getDate("x"));
    EXPECT_TRUE(document.GetFile("x").isNil());
    document.removeObject("x");
    document.SetFile("x", nullptr);
    EXPECT_EQ(document.GetKeyCount(), 0);
}

TEST_F(TypedValues, DecodeWrappedTextInTwoWays) {
    using Case = std::tuple<std::string_view, const char*, bool>;
    for (const TextEncoding tag : {TextEncoding::utf8, TextEncoding::none})
        for (const auto& [bytes, text, wrapped] :
             {Case("en\0SGk="sv, "Hi", true), Case("EN\0S\r\nGk="sv, "Hi", true),
              Case("EN111SGkeN000", "Hi", true), Case("en111en000", "", true), Case("en111", "en111", false),
              Case("en111SGk=", "en111SGk=", false), Case("xen111SGk=en000", "xen111SGk=en000", false)}) {
            document.Values->SetValue("k", String(bytes, tag));
            const String one = document.GetStringValue("K");
            const String two = document.GetStringValue("K", "default");
            EXPECT_EQ(plain(one), text);
            EXPECT_EQ(plain(two), text);
            EXPECT_EQ(one.encoding(), TextEncoding::utf8) << text;
            EXPECT_EQ(two.encoding(), wrapped ? TextEncoding::none : tag) << text;
        }
}

TEST_F(TypedValues, ReadDatesColoursBytesAndFilesBack) {
    // The present day is 31 January 2021, which other months do not have.
    clocks::replaceWallClock([] { return clocks::Nanoseconds{1'612'094'400} * 1'000'000'000; });
    using Case = std::pair<const char*, const char*>;
    for (const auto& [text, understood] :
         {Case("3/7/2021 9:05:02", "3/7/2021 9:5:2"), Case(" 9:05", "0/0/0 9:5:0"),
          Case("junk", "0/0/0 0:0:0"), Case("x/7/2021 x", "0/7/2021 0:0:0"), Case("2//x :7", "2/0/0 0:7:0"),
          Case("2/30/2021 24:00:61", "3/3/2021 0:1:1")}) {
        document.SetStringValue("d", text);
        document.SetDate("k", document.getDate("D", std::nullopt));
        EXPECT_EQ(stored(), understood) << text;
    }
    clocks::replaceWallClock(nullptr);
    document.SetDate("K", std::nullopt);
    EXPECT_FALSE(document.ObjectExists("k"));
    const Color fallback = RGB(9, 9, 9);
    for (const auto& [text, colour] :
         {std::pair{"255, 128, 0", RGB(255, 128, 0)}, {"1,x", RGB(1, 0, 0)}, {"", fallback}}) {
        document.SetStringValue("k", text);
        EXPECT_EQ(document.GetColorValue("K", fallback), colour) << text;
    }
    document.SetBinaryValue("k", untagged({"a\0b", 3}));
    EXPECT_EQ(plain(document.GetBinaryData("K")), std::string("a\0b", 3));
    EXPECT_EQ(document.GetBinaryData("K").encoding(), TextEncoding::none);
    document.SetFile("k", item("some file"));
    EXPECT_EQ(plain(document.GetFile("K")->ShellPath()), at("some file").string());
}

TEST_F(TypedValues, IgnoreCaseAndEncodingOfKeys) {
    document.SetStringValue(String("St\xE4rk", TextEncoding::latin1), "1");
    document.SetStringValue(untagged("ST\xC3\xA4RK"), "2"); // stored: untagged bytes are UTF-8
    EXPECT_EQ(textOf(document), "St\xC3\xA4rk=2 ");
    EXPECT_EQ(plain(document.GetStringValue(untagged("st\xE4rk"))), "2") << "read: they are converted";
    EXPECT_FALSE(document.ObjectExists(untagged("st\xC3\xA4rk")));
}

TEST_F(TypedValues, AreCopiedWrappedByCloneAndDecodedByInsert) {
    const auto source = node("n", {}, {node("c", {{"a", "1"}})});
    source->setEncryptedStringValue("k", "Hi");
    source->ValueBuffer[0] = "zero";
    source->ValueBuffer.Append("one");
    const auto clone = source->Clone();
    EXPECT_EQ(textOf(*clone), textOf(*source));
    expectRows({Row{clone->Name, "n"}, Row{clone->ValueBuffer[0], ""}, Row{clone->ValueBuffer[1], "one"}});
    clone->Containers[1]->SetStringValue("a", "2");
    EXPECT_EQ(plain(source->Containers[1]->GetStringValue("a")), "1") << "a deep copy";
    document.SetStringValue("K", "old");
    document.InsertValues(source);
    EXPECT_EQ(textOf(document), "K=Hi ");
    source->DeleteObjects();
    EXPECT_EQ(textOf(*source), "c{a=1 } ");
    EXPECT_EQ(plain(document.DecodeXMLString("a_b__c")), "a b  c");
}

} // namespace
} // namespace hearthix::testing
