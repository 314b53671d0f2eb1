// IStream on properties.
#include "store_fixture.h"

#include <psapi.h>

namespace {

struct StreamTest : FolderTest {
  StreamTest() { EXPECT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK); }

  ComPtr<IStream> create(ULONG tag) {
    return openStream(*message.Get(), tag, STGM_CREATE | STGM_WRITE, MAPI_CREATE | MAPI_MODIFY);
  }

  static ULONGLONG seek(IStream& stream, LONGLONG move, DWORD origin) {
    LARGE_INTEGER by;
    by.QuadPart = move;
    ULARGE_INTEGER to{};
    EXPECT_EQ(stream.Seek(by, origin, &to), S_OK);
    return to.QuadPart;
  }

  ComPtr<IMessage> message;
};

constexpr ULONG tagBinary = PROP_TAG(PT_BINARY, 0x6630);

TEST_F(StreamTest, WhatIsWrittenWithoutCommitCounts) {
  create(PR_BODY_W)->Write(L"hello", 10, nullptr);
  EXPECT_EQ(text(*message.Get(), PR_BODY_W), L"hello");
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_EQ(text(*openFirst(*reports.Get()).Get(), PR_BODY_W), L"hello");
}

TEST_F(StreamTest, An8BitStreamOnTextIsTheSameText) {
  create(PR_BODY_A)->Write("hello", 5, nullptr);
  EXPECT_EQ(text(*message.Get(), PR_BODY_W), L"hello");
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto again = openFirst(*reports.Get());
  EXPECT_EQ(text(*again.Get(), PR_BODY_W), L"hello");
  EXPECT_EQ(readAll(*openStream(*again.Get(), PR_BODY_A, 0, 0).Get()), Bytes({'h', 'e', 'l', 'l', 'o'}));
  EXPECT_EQ(readAll(*openStream(*again.Get(), PR_BODY_W, 0, 0).Get()).size(), 10u);
}

TEST_F(StreamTest, SeeksAndReadsBack) {
  auto stream = create(tagBinary);
  const Bytes bytes = patternBytes(10'000);
  ULONG written = 0;
  ASSERT_EQ(stream->Write(bytes.data(), 10'000, &written), S_OK);
  EXPECT_EQ(written, 10'000u);
  EXPECT_EQ(seek(*stream.Get(), 0, STREAM_SEEK_CUR), 10'000u);
  EXPECT_EQ(seek(*stream.Get(), -9'000, STREAM_SEEK_END), 1'000u);
  Bytes piece(500);
  ULONG count = 0;
  ASSERT_EQ(stream->Read(piece.data(), 500, &count), S_OK);
  EXPECT_EQ(count, 500u);
  EXPECT_EQ(piece, Bytes(bytes.begin() + 1'000, bytes.begin() + 1'500));
}

TEST_F(StreamTest, SeekingBeforeTheBeginningIsRefused) {
  auto stream = create(tagBinary);
  LARGE_INTEGER back;
  back.QuadPart = -1;
  EXPECT_EQ(stream->Seek(back, STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION);
}

TEST_F(StreamTest, AGapIsFilledWithZeros) {
  auto stream = create(tagBinary);
  seek(*stream.Get(), 3, STREAM_SEEK_SET);
  ASSERT_EQ(stream->Write("x", 1, nullptr), S_OK);
  EXPECT_EQ(binary(*message.Get(), tagBinary), Bytes({0, 0, 0, 'x'}));
}

TEST_F(StreamTest, SetSizeCutsAndGrows) {
  auto stream = create(tagBinary);
  ASSERT_EQ(stream->Write("abcdef", 6, nullptr), S_OK);
  ASSERT_EQ(stream->SetSize({{2, 0}}), S_OK);
  EXPECT_EQ(binary(*message.Get(), tagBinary), Bytes({'a', 'b'}));
  ASSERT_EQ(stream->SetSize({{3, 0}}), S_OK);
  EXPECT_EQ(binary(*message.Get(), tagBinary), Bytes({'a', 'b', 0}));
  STATSTG statistics{};
  ASSERT_EQ(stream->Stat(&statistics, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(statistics.cbSize.QuadPart, 3u);
  EXPECT_EQ(statistics.type, static_cast<DWORD>(STGTY_STREAM));
}

TEST_F(StreamTest, CopyToCopiesFromHereOn) {
  auto from = create(tagBinary);
  ASSERT_EQ(from->Write("abcdef", 6, nullptr), S_OK);
  seek(*from.Get(), 2, STREAM_SEEK_SET);
  auto to = create(PROP_TAG(PT_BINARY, 0x6631));
  ULARGE_INTEGER all, read{}, written{};
  all.QuadPart = ~0ull;
  ASSERT_EQ(from->CopyTo(to.Get(), all, &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 4u);
  EXPECT_EQ(written.QuadPart, 4u);
  EXPECT_EQ(binary(*message.Get(), PROP_TAG(PT_BINARY, 0x6631)), Bytes({'c', 'd', 'e', 'f'}));
}

TEST_F(StreamTest, ACloneHasAPositionOfItsOwn) {
  auto stream = create(tagBinary);
  ASSERT_EQ(stream->Write("abc", 3, nullptr), S_OK);
  ComPtr<IStream> clone;
  ASSERT_EQ(stream->Clone(clone.GetAddressOf()), S_OK);
  EXPECT_EQ(seek(*clone.Get(), 0, STREAM_SEEK_CUR), 3u);
  seek(*clone.Get(), 0, STREAM_SEEK_SET);
  EXPECT_EQ(seek(*stream.Get(), 0, STREAM_SEEK_CUR), 3u);
  EXPECT_EQ(readAll(*clone.Get()).size(), 3u);
}

TEST_F(StreamTest, CommitAndRevertAreAllowed) {
  auto stream = create(tagBinary);
  EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(stream->Revert(), S_OK);
  EXPECT_EQ(stream->LockRegion({}, {}, 0), STG_E_INVALIDFUNCTION);
}

TEST_F(StreamTest, AReadStreamCannotBeWritten) {
  create(PR_BODY_W)->Write(L"x", 2, nullptr);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto stream = openStream(*openFirst(*reports.Get()).Get(), PR_BODY_W, STGM_READ, 0);
  EXPECT_THAT(stream->Write("x", 1, nullptr), Gives(STG_E_ACCESSDENIED));
  EXPECT_THAT(stream->SetSize({}), Gives(STG_E_ACCESSDENIED));
}

TEST_F(StreamTest, WritingNeedsAnObjectOpenedForIt) {
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  ComPtr<IStream> stream;
  EXPECT_THAT(openFirst(*reports.Get())
                  ->OpenProperty(PR_BODY_W, &IID_IStream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY, unknownOut(stream)),
              Gives(MAPI_E_NO_ACCESS));
}

TEST_F(StreamTest, AMissingPropertyIsCreatedOnlyWhenAsked) {
  ComPtr<IStream> stream;
  EXPECT_THAT(message->OpenProperty(PR_BODY_W, &IID_IStream, 0, 0, unknownOut(stream)), Gives(MAPI_E_NOT_FOUND));
  EXPECT_THAT(message->OpenProperty(PR_BODY_W, &IID_IStream, STGM_READWRITE, MAPI_MODIFY, unknownOut(stream)),
              Gives(MAPI_E_NOT_FOUND));
  EXPECT_THAT(
      message->OpenProperty(PR_BODY_W, &IID_IStream, STGM_READWRITE, MAPI_MODIFY | MAPI_CREATE, unknownOut(stream)),
      Gives(S_OK));
}

TEST_F(StreamTest, ModifyWithoutCreateGoesOnFromWhatIsThere) {
  create(tagBinary)->Write("abcdef", 6, nullptr);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto again = openFirst(*reports.Get(), MAPI_MODIFY);
  {
    auto stream = openStream(*again.Get(), tagBinary, STGM_READWRITE, MAPI_MODIFY);
    ASSERT_EQ(stream->Write("X", 1, nullptr), S_OK);
  }
  ASSERT_EQ(again->SaveChanges(0), S_OK);
  EXPECT_EQ(binary(*openFirst(*reports.Get()).Get(), tagBinary), Bytes({'X', 'b', 'c', 'd', 'e', 'f'}));
}

TEST_F(StreamTest, CreateDiscardsWhatWasThere) {
  create(tagBinary)->Write("abcdef", 6, nullptr);
  create(tagBinary)->Write("x", 1, nullptr);
  EXPECT_EQ(binary(*message.Get(), tagBinary), Bytes({'x'}));
}

TEST_F(StreamTest, OnlyBytesAndTextHaveStreams) {
  ComPtr<IStream> stream;
  EXPECT_THAT(message->OpenProperty(PR_IMPORTANCE, &IID_IStream, 0, MAPI_CREATE | MAPI_MODIFY, unknownOut(stream)),
              Gives(MAPI_E_INTERFACE_NOT_SUPPORTED));
  EXPECT_THAT(message->OpenProperty(tagBinary, &IID_IMAPITable, 0, MAPI_CREATE | MAPI_MODIFY, unknownOut(stream)),
              Gives(MAPI_E_INTERFACE_NOT_SUPPORTED));
}

TEST_F(StreamTest, AComputedPropertyStreamsForReading) {
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(readAll(*openStream(*message.Get(), PR_ENTRYID, 0, 0).Get()), binary(*message.Get(), PR_ENTRYID));
  ComPtr<IStream> stream;
  EXPECT_THAT(
      message->OpenProperty(PR_ENTRYID, &IID_IStream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY, unknownOut(stream)),
      Gives(MAPI_E_COMPUTED));
}

TEST_F(StreamTest, TheAttachmentsTableOpensAsAProperty) {
  ComPtr<IMAPITable> table;
  EXPECT_THAT(message->OpenProperty(PR_MESSAGE_ATTACHMENTS, &IID_IMAPITable, 0, 0, unknownOut(table)), Gives(S_OK));
  EXPECT_THAT(message->OpenProperty(PR_MESSAGE_RECIPIENTS, &IID_IMAPITable, 0, 0, unknownOut(table)), Gives(S_OK));
}

TEST_F(StreamTest, AStreamReadsOnAfterItsMessageIsDeleted) {
  const Bytes bytes = patternBytes(300'000);
  create(tagBinary)->Write(bytes.data(), 300'000, nullptr);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto stream = openStream(*openFirst(*reports.Get()).Get(), tagBinary, 0, 0);
  ASSERT_EQ(reports->EmptyFolder(0, nullptr, 0), S_OK);
  EXPECT_TRUE(readAll(*stream.Get()) == bytes);
}

// The whole process, in bytes.
std::size_t peakMemory() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PeakWorkingSetSize;
}

TEST_F(StreamTest, AHugeAttachmentGoesThroughBoundedMemory) {
  ComPtr<IAttach> attachment;
  ULONG index = 0;
  ASSERT_EQ(message->CreateAttach(nullptr, 0, &index, attachment.GetAddressOf()), S_OK);
  constexpr ULONGLONG size = 200ull << 20;
  const Bytes block = patternBytes(4096);
  const auto before = peakMemory();
  {
    auto stream =
        openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_CREATE | STGM_WRITE, MAPI_CREATE | MAPI_MODIFY);
    for (ULONGLONG written = 0; written < size; written += 4096) {
      ASSERT_EQ(stream->Write(block.data(), 4096, nullptr), S_OK);
    }
  }
  ASSERT_EQ(attachment->SaveChanges(0), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  ASSERT_EQ(message->OpenAttach(index, nullptr, 0, attachment.ReleaseAndGetAddressOf()), S_OK);
  auto stream = openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_READ, 0);
  Bytes read(4096);
  ULONGLONG total = 0;
  for (ULONG count = 0; stream->Read(read.data(), 4096, &count) == S_OK && count > 0; total += count) {
    ASSERT_TRUE(read == block);
  }
  EXPECT_EQ(total, size);

  ComPtr<IMessage> copy;
  ASSERT_EQ(reports->CreateMessage(nullptr, 0, copy.GetAddressOf()), S_OK);
  ASSERT_THAT(message->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, copy.Get(), 0, nullptr), Gives(S_OK));
  ASSERT_EQ(copy->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  ASSERT_EQ(copy->OpenAttach(0, nullptr, 0, attachment.ReleaseAndGetAddressOf()), S_OK);
  STATSTG copied{};
  ASSERT_EQ(openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_READ, 0)->Stat(&copied, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(copied.cbSize.QuadPart, size);
  EXPECT_LT(peakMemory() - before, 64u << 20);
}

}  // namespace
