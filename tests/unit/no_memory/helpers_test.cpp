// File, search, string and memory helpers and tagged streams: 267, or the helper's own failure value, and nothing lost.
#include <fstream>

#include "file_search.h"
#include "guarded_heap.h"
#include "string_helpers.h"
#include "temp_folder.h"
#include "tlv_file.h"
#include "tlv_memory.h"
#include "tlv_test.h"

namespace fendrel::test {
namespace {

// Lets the nth allocation of the call fail.
template <class Call>
auto failing(std::size_t nth, Call call) {
  guardedHeapFail(nth);
  const auto answer = call();
  guardedHeapFail(0);
  return answer;
}

TEST(WithoutMemory, ABlockIsNotAllocatedAndTheOldOneIsGone) {
  MemoryBlock block = blockOf("abc");
  EXPECT_FALSE(failing(1, [&] { return BlockAlloc(block, 10); }));
  EXPECT_EQ(block, nullptr);
}

TEST(WithoutMemory, ABlockThatCannotGrowStaysAsItWas) {
  MemoryBlock block = blockOf("abc");
  EXPECT_FALSE(failing(1, [&] { return BlockRealloc(block, 100); }));
  EXPECT_EQ(textOf(block), "abc");
}

TEST(WithoutMemory, AMemoryStreamIsNotMadeAndTheBlockIsFreed) {
  for (std::size_t nth : {1, 2}) {
    MemoryBlock block;
    std::unique_ptr<TLVMemory> stream;
    EXPECT_EQ(failing(nth, [&] { return CreateTLVMemory(block, stream); }), 267);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(stream, nullptr);
  }
}

TEST(WithoutMemory, AMemoryStreamIsNotOpenedAndTheBlockStays) {
  MemoryBlock block = blockOf("abc");
  std::unique_ptr<TLVMemory> stream;
  EXPECT_EQ(failing(1, [&] { return OpenTLVMemory(block, stream); }), 267);
  EXPECT_EQ(textOf(block), "abc");
}

TEST(WithoutMemory, AnItemIsNotWrittenAndTheStreamIsWhole) {
  MemoryBlock block;
  std::unique_ptr<TLVMemory> stream;
  ASSERT_EQ(CreateTLVMemory(block, stream), 0);
  ASSERT_EQ(stream->WriteItem(1, 3, "abc"), 0);
  const std::string value(300, 'x');
  EXPECT_EQ(failing(1, [&] { return stream->WriteItem(2, 300, value.data()); }), 267);
  EXPECT_EQ(stream->position(), 7);
  stream.reset();
  EXPECT_EQ(textOf(block), item(1, "abc"));
}

TEST(WithoutMemory, AnItemOfAMemoryStreamIsNotRead) {
  MemoryBlock block = blockOf(item(1, "abc")), value;
  std::unique_ptr<TLVMemory> stream;
  ASSERT_EQ(OpenTLVMemory(block, stream), 0);
  std::uint16_t tag = 0, length = 0;
  EXPECT_EQ(failing(1, [&] { return stream->ReadItem(tag, length, value); }), 267);
  EXPECT_EQ(value, nullptr);
}

class FilesWithoutMemory : public testing::Test {
 protected:
  TempFolder folder;
  std::wstring path = folder.file(L"a.rpt");

  void make(const std::string& content) { std::ofstream(std::filesystem::path(path), std::ios::binary) << content; }
};

TEST_F(FilesWithoutMemory, AFileStreamIsNotMadeAndTheFileIsClosed) {
  make("");
  std::unique_ptr<TLVFile> stream;
  EXPECT_EQ(failing(1, [&] { return OpenTLVFile(path.c_str(), openForRead, 0, stream); }), 267);
  EXPECT_TRUE(DeleteFileW(path.c_str()));
  EXPECT_EQ(failing(1, [&] { return CreateTLVFile(path.c_str(), openForWrite, 0, stream); }), 267);
  EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_F(FilesWithoutMemory, AnItemOfAFileIsNotReadAndThePositionIsBack) {
  make(item(1, "abc"));
  std::unique_ptr<TLVFile> stream;
  ASSERT_EQ(OpenTLVFile(path.c_str(), openForRead, 0, stream), 0);
  std::uint16_t tag = 0, length = 0;
  MemoryBlock value;
  EXPECT_EQ(failing(1, [&] { return stream->ReadItem(tag, length, value); }), 267);
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(textOf(value), "abc");
}

TEST_F(FilesWithoutMemory, ASearchIsNotMadeAndItsNamesAre267) {
  make("");
  const std::wstring directories = folder.path().wstring();
  std::unique_ptr<FileSearch> search;
  EXPECT_EQ(failing(1, [&] { return FileFindOpen(L"*.rpt", directories.c_str(), search); }), 267);
  EXPECT_EQ(search, nullptr);
  ASSERT_EQ(FileFindOpen(L"*.rpt", directories.c_str(), search), 0);
  HeapText name;
  EXPECT_EQ(failing(1, [&] { return FileFindNext(search.get(), name); }), 267);
  EXPECT_EQ(name, nullptr);
}

TEST_F(FilesWithoutMemory, ALibraryIsNotLookedFor) {
  const std::wstring directories = folder.path().wstring();
  EXPECT_EQ(failing(1, [&] { return LoadLibraryFromPathList(L"a.dll", directories.c_str()); }), nullptr);
}

TEST_F(FilesWithoutMemory, ATempReportNameIs267) {
  HeapText name;
  EXPECT_EQ(failing(1, [&] { return MakeTempReportName(name); }), 267);
  EXPECT_EQ(name, nullptr);
}

TEST(WithoutMemory, TextsAndBytesAreNotCopied) {
  HeapText text;
  EXPECT_EQ(failing(1, [&] { return DupWide(text, L"abc"); }), 0);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(failing(1, [&] { return AnsiToWideNew("abc", text); }), 0);
  EXPECT_EQ(text, nullptr);
  ByteBuffer buffer;
  ByteBufferAssign(buffer, 3, "abc");
  EXPECT_FALSE(failing(1, [&] { return ByteBufferAssign(buffer, 3, "abc"); }));
  EXPECT_EQ(buffer.size, 0u);
  EXPECT_EQ(buffer.data, nullptr);
}

}  // namespace
}  // namespace fendrel::test
