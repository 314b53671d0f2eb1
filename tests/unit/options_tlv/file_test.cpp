// Tagged streams in files.
#include "tlv_file.h"

#include <fstream>

#include "temp_folder.h"
#include "tlv_test.h"

namespace fendrel::test {
namespace {

class TlvFileTest : public testing::Test {
 protected:
  TempFolder folder;
  std::wstring path = folder.file(L"stream.rpt");

  void open(const std::string& content, std::uint16_t access = openForRead) {
    stream.reset();
    std::ofstream(std::filesystem::path(path), std::ios::binary) << content;
    ASSERT_EQ(OpenTLVFile(path.c_str(), access, denyWrite, stream), 0);
  }
  std::uint32_t position() {
    std::uint32_t here = 0;
    EXPECT_EQ(stream->Seek(seekFromCurrent, 0, here), 0);
    return here;
  }
  std::string content() {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::unique_ptr<TLVFile> stream;
  std::uint16_t tag = 0, length = 0;
  MemoryBlock value;
};

TEST_F(TlvFileTest, IsAFileStream) {
  open("");
  EXPECT_TRUE(stream->IsFile());
  EXPECT_FALSE(stream->IsMemory());
}

TEST_F(TlvFileTest, ItemsAreReadOneAfterTheOther) {
  open(item(4121, "comment") + item(4122, "body"));
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(tag, 4121);
  EXPECT_EQ(length, 7);
  EXPECT_EQ(textOf(value), "comment");
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(textOf(value), "body");
  EXPECT_EQ(stream->ReadItem(tag, length, value), 264);
}

TEST_F(TlvFileTest, AnItemOfLength0IsReadAndYieldsNoBlock) {
  open(item(5, "") + item(6, "x"));
  value = blockOf("before");
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(tag, 5);
  EXPECT_EQ(textOf(value), "before");
  EXPECT_EQ(position(), 4u);
}

TEST_F(TlvFileTest, AFileThatEndsInsideAHeaderYields264AndThePositionIsBack) {
  open(item(5, "ab") + std::string("\6\0\1", 3));
  EXPECT_EQ(stream->SkipItem(), 0);
  EXPECT_EQ(stream->ReadItem(tag, length, value), 264);
  EXPECT_EQ(position(), 6u);
}

TEST_F(TlvFileTest, AFileThatEndsInsideAValueYields268AndThePositionIsBack) {
  open(item(5, "ab") + item(6, "cdef").substr(0, 7));
  EXPECT_EQ(stream->SkipItem(), 0);
  EXPECT_EQ(stream->ReadItem(tag, length, value), 268);
  EXPECT_EQ(position(), 6u);
  EXPECT_EQ(value, nullptr);
}

TEST_F(TlvFileTest, ATagOf0IsMalformedAndThePositionIsBack) {
  open(item(0, "ab"));
  EXPECT_EQ(stream->ReadItem(tag, length, value), 268);
  EXPECT_EQ(tag, 0);
  EXPECT_EQ(length, 2);
  EXPECT_EQ(position(), 0u);
}

TEST_F(TlvFileTest, ALengthOf65520IsAcceptedAnd65521Refused) {
  open(item(5, std::string(65520, 'x')));
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(BlockSize(value), 65520u);
  open(std::string("\5\0\xF1\xFF", 4) + std::string(65521, 'x'));
  EXPECT_EQ(stream->ReadItem(tag, length, value), 268);
  EXPECT_EQ(position(), 0u);
}

TEST_F(TlvFileTest, PeekSeeksBackOnSuccessAlone) {
  open(item(5, "ab") + item(0, ""));
  EXPECT_EQ(stream->PeekItem(tag, length), 0);
  EXPECT_EQ(tag, 5);
  EXPECT_EQ(length, 2);
  EXPECT_EQ(position(), 0u);
  EXPECT_EQ(stream->SkipItem(), 0);
  EXPECT_EQ(position(), 6u);
  EXPECT_EQ(stream->PeekItem(tag, length), 268);
  EXPECT_EQ(position(), 10u);
  EXPECT_EQ(stream->PeekItem(tag, length), 264);
}

TEST_F(TlvFileTest, FindTagStandsBeforeTheItem) {
  open(item(5, "ab") + item(6, "c"));
  EXPECT_EQ(stream->FindTag(6), 0);
  EXPECT_EQ(position(), 6u);
}

TEST_F(TlvFileTest, FindTagOnAStreamThatLacksTheTagEndsWith264) {
  open(item(5, "ab") + item(6, "c"));
  EXPECT_EQ(stream->FindTag(9), 264);
}

// Skipping does not check that the value exists.
TEST_F(TlvFileTest, SkipOfAnItemWhoseValueIsCutStandsBehindTheEnd) {
  open(item(5, "abcd").substr(0, 6));
  EXPECT_EQ(stream->SkipItem(), 0);
  EXPECT_EQ(position(), 8u);
  EXPECT_EQ(stream->ReadItem(tag, length, value), 264);
}

TEST_F(TlvFileTest, AValueHasNoAddressInAFile) {
  open(item(5, "ab"));
  std::byte* address = nullptr;
  EXPECT_EQ(stream->GetValuePointer(tag, length, address), 263);
}

TEST_F(TlvFileTest, ItemsAreWrittenAsTheyAreRead) {
  ASSERT_EQ(CreateTLVFile(path.c_str(), openForReadWrite, 0, stream), 0);
  EXPECT_EQ(stream->WriteItem(4121, 7, "comment"), 0);
  EXPECT_EQ(stream->WriteItem(5, 0, nullptr), 0);
  EXPECT_EQ(stream->WriteItemFromHandle(4122, 4, blockOf("body")), 0);
  EXPECT_EQ(stream->WriteItemFromHandle(4122, 4, nullptr), 267);
  EXPECT_EQ(DestroyTLVFile(stream), 0);
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(content(), item(4121, "comment") + item(5, "") + item(4122, "body"));
}

TEST_F(TlvFileTest, WritingToAStreamOpenedForReadingReturns261) {
  open(item(5, "ab"));
  EXPECT_EQ(stream->WriteItem(6, 1, "x"), 261);
}

TEST_F(TlvFileTest, BytesAreReadAndWrittenBesideTheItems) {
  open("abc", openForReadWrite);
  char text[3] = {};
  std::uint16_t done = 0;
  EXPECT_EQ(stream->ReadBytes(2, done, text), 0);
  EXPECT_STREQ(text, "ab");
  EXPECT_EQ(stream->WriteBytes(2, done, "XY"), 0);
  EXPECT_EQ(DestroyTLVFile(stream), 0);
  EXPECT_EQ(content(), "abXY");
}

TEST_F(TlvFileTest, OpeningAMissingFileReturns260AndNoStream) {
  EXPECT_EQ(OpenTLVFile(path.c_str(), 0, 32, stream), 260);
  EXPECT_EQ(stream, nullptr);
}

TEST_F(TlvFileTest, CreatingAnExistingFileReturns259AndNoStream) {
  open(item(5, "ab"));
  stream.reset();
  EXPECT_EQ(CreateTLVFile(path.c_str(), openForWrite, 0, stream), 259);
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(content(), "");
}

TEST_F(TlvFileTest, DestroyingReturnsTheResultOfTheClosing) {
  open("");
  EXPECT_EQ(DestroyTLVFile(stream), 0);
  EXPECT_EQ(DestroyTLVFile(stream), 0);                                                        // there is none
  stream = std::make_unique<TLVFile>(reinterpret_cast<HANDLE>(static_cast<INT_PTR>(0x7FFC)));  // no such handle
  EXPECT_EQ(DestroyTLVFile(stream), 263);
}

TEST_F(TlvFileTest, AStreamWhoseFileIsClosedReturns263) {
  open(item(5, "ab"));
  stream->Close();
  EXPECT_EQ(stream->ReadItem(tag, length, value), 263);
  EXPECT_EQ(stream->PeekItem(tag, length), 263);
}

}  // namespace
}  // namespace fendrel::test
