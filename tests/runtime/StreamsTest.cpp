#include "Rows.hpp"
#include "runtime/files/BinaryStream.hpp"
#include "runtime/files/FolderItem.hpp"
#include "runtime/files/MemoryBlock.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Exceptions.hpp"

#include <filesystem>

namespace hearthix {

// Outside of the unnamed namespace, because a stack contains the names of exported functions only.
[[gnu::noinline]] Integer functionThatFails(const Ref<MemoryBlock>& block) {
    return block->Size() + 1;
}

namespace {

using namespace std::string_view_literals;

TEST(MemoryBlock, RefusesNumbersOutsideAndCutsStringsAtItsEnd) {
    const String text(std::string(30, 'a'));
    MemoryBlock block(text);
    for (const Integer offset : {Integer{-1}, Integer{29}, INT64_MIN, INT64_MAX}) {
        EXPECT_THROW(block.setUInt16Value(offset, 1), OutOfBoundsException) << offset;
        EXPECT_THROW(block.UInt16Value(offset), OutOfBoundsException) << offset;
    }
    for (const Integer size : {Integer{-1}, INT64_MAX})
        EXPECT_THROW(MemoryBlock{size}, NilObjectException);
    block.setDoubleValue(3, -1.5);
    EXPECT_EQ(block.DoubleValue(3), -1.5);
    block.setByte(4, 0xFE);
    block.LittleEndian = false;
    EXPECT_EQ(block.Byte(4), 0xFE);
    EXPECT_EQ(block.UInt16Value(4), 0xFE00);
    block.overwrite(32, "xy");
    block.overwrite(29, "bc");
    EXPECT_EQ(text.view(), std::string(30, 'a')); // the block is a copy
    expectRows({Row{block.StringValue(28, 99), "abc\0xy"sv}, Row{block.StringValue(99, 1), ""},
                Row{block.StringValue(-1, 1), ""}, Row{block.StringValue(0, -1), ""}});
}

TEST(Exceptions, NameTheCallsThatLedToThem) {
    try {
        functionThatFails(nullptr);
        FAIL();
    } catch (const NilObjectException& error) {
        const String stack = Join(error.Stack(), "\n");
        EXPECT_GT(InStr(1, stack, "hearthix::functionThatFails("), 0) << stack.view();
        EXPECT_GT(InStr(1, stack, " + 0x"), 0);
    }
    EXPECT_STREQ(RuntimeException().what(), "RuntimeException");
}

class StreamTest : public testing::Test {
protected:
    StreamTest() : path_(testing::TempDir() + "hearthix-stream-XXXXXX") {
        EXPECT_NE(mkdtemp(path_.data()), nullptr);
        folder_ = Ref<FolderItem>::make(String(path_));
    }
    ~StreamTest() override { std::filesystem::remove_all(path_); }

    Ref<FolderItem> file(const char* name, std::string_view content) const {
        const auto item = folder_->Child(name);
        const auto stream = BinaryStream::Create(item, true);
        stream->Write(content);
        stream->Close();
        EXPECT_FALSE(stream->error());
        return item;
    }
    static std::string contentOf(const Ref<FolderItem>& item) {
        return std::string(BinaryStream::Open(item, false)->Read(INT64_MAX));
    }

    std::string path_;
    Ref<FolderItem> folder_;
};

TEST_F(StreamTest, ReadsTheSameFromStringBlockAndFile) {
    constexpr auto kContent = "\x01\x02\x03\x04\x05\x06\x07\x08\x09"sv;
    BinaryStream overString{String(kContent)}, overBlock(Ref<MemoryBlock>::make(String(kContent)));
    const auto overFile = BinaryStream::Open(file("a", kContent), false);
    EXPECT_TRUE(overBlock.LittleEndian);
    for (BinaryStream* stream : {&overString, &overBlock, overFile.get()}) {
        stream->LittleEndian = false;
        EXPECT_EQ(stream->ReadUInt8(), 1);
        EXPECT_EQ(stream->ReadUInt16(), 0x0203);
        stream->LittleEndian = true;
        EXPECT_EQ(stream->ReadUInt32(), 0x07060504U);
        EXPECT_FALSE(stream->isEOF());
        EXPECT_EQ(stream->ReadUInt32(), 0U); // only two bytes are left
        EXPECT_TRUE(stream->isEOF());
        stream->setPosition(7);
        EXPECT_EQ(stream->Read(INT64_MAX).view(), "\x08\x09");
        EXPECT_EQ(stream->Read(1).view(), "");
        stream->setPosition(99);
        EXPECT_EQ(stream->Position(), 9);
        stream->setPosition(-5);
        EXPECT_EQ(stream->Read(-1).view(), "");
        EXPECT_EQ(stream->ReadUInt8(), 1);
        stream->Close();
        stream->Close();
        EXPECT_EQ(stream->ReadUInt8(), 0);
        EXPECT_EQ(stream->Length(), 0);
    }
}

TEST_F(StreamTest, WritesTheSameToBlockAndFile) {
    const auto block = Ref<MemoryBlock>::make();
    BinaryStream overBlock(block);
    const auto overFile = BinaryStream::Create(folder_->Child("new"), false);
    for (BinaryStream* stream : {&overBlock, overFile.get()}) {
        stream->LittleEndian = false;
        stream->WriteUInt8(1);
        stream->WriteUInt16(0x0203);
        stream->LittleEndian = true;
        stream->WriteUInt32(0x07060504);
        stream->setPosition(1);
        EXPECT_EQ(stream->Read(2).view(), "\x02\x03"); // what was just written
        stream->Write("xy");
        stream->setPosition(6);
        stream->Write("end");
        stream->Close();
        stream->Write("lost");
    }
    EXPECT_EQ(block->toString().view(), "\x01\x02\x03xy\x06\x65nd");
    EXPECT_EQ(contentOf(folder_->Child("new")), block->toString().view());
}

TEST_F(StreamTest, ReportsAFileThatCannotBeUsed) {
    EXPECT_TRUE(BinaryStream::Open(folder_->Child("missing"), false).isNil());
    EXPECT_TRUE(BinaryStream::Open(folder_, false).isNil());
    ASSERT_EQ(mkfifo((path_ + "/pipe").c_str(), 0600), 0); // without a writer
    EXPECT_TRUE(BinaryStream::Open(folder_->Child("pipe"), false).isNil());
    EXPECT_TRUE(BinaryStream::Create(file("old", "old"), false).isNil());
    EXPECT_TRUE(BinaryStream::Create(folder_->Child("no")->Child("folder"), true).isNil());
    for (const auto& stream : {BinaryStream::Open(folder_->Child("old"), false),
                               BinaryStream::Create(GetFolderItem("/dev/full", 0), true)}) {
        stream->Write("new");
        stream->Close();
        EXPECT_TRUE(stream->error());
    }
    EXPECT_EQ(contentOf(folder_->Child("old")), "old");
}

TEST_F(StreamTest, ReadsUpToTheEndOfAFileThatHasShrunk) {
    const auto stream = BinaryStream::Open(file("cut", std::string(9000, 'x')), false);
    std::filesystem::resize_file(path_ + "/cut", 5000);
    stream->setPosition(4000);
    EXPECT_EQ(stream->Read(3000).size(), 1000U);
    EXPECT_TRUE(stream->isEOF());
}

TEST_F(StreamTest, FolderItemsDescribePaths) {
    const auto item = file("name.kbdb", "x");
    expectRows(
        {Row{item->Name(), "name.kbdb"}, Row{item->Parent()->ShellPath(), path_},
         Row{GetFolderItem("/a/./b/../c/", 0)->ShellPath(), "/a/c"},
         Row{GetFolderItem("here", 0)->Parent()->ShellPath(), std::filesystem::current_path().native()}});
    EXPECT_TRUE(GetFolderItem("/", 0)->Parent().isNil());
    EXPECT_TRUE(item->Exists());
    item->Delete();
    item->Delete();
    EXPECT_FALSE(item->Exists());
}

} // namespace
} // namespace hearthix
