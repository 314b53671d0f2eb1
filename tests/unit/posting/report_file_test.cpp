// Copying a file into an attachment.
#include "report_file.h"

#include <filesystem>
#include <fstream>
#include <numeric>

#include "bound_mapi.h"
#include "charset.h"
#include "import_hook.h"
#include "mapi_actions.h"
#include "temp_folder.h"

using namespace fendrel;
using testing::_;
using testing::ElementsAreArray;
using testing::InSequence;
using testing::Return;
using testing::StrictMock;

namespace {

class ReportFile : public testing::Test {
 protected:
  // Bytes of which no two neighbouring reads are alike.
  std::wstring makeFile(std::size_t size) {
    expected_.resize(size);
    for (std::size_t i = 0; i < size; ++i) expected_[i] = static_cast<char>(i % 251);
    const std::wstring path = folder.file(L"report.rpt");
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file.write(expected_.data(), static_cast<std::streamsize>(size));
    return path;
  }
  void expectStream() {
    EXPECT_CALL(attachment, OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, 0x1001, 3, _)).WillOnce(handsOut(stream));
  }
  HRESULT copy(const std::wstring& path) { return copyFileIntoAttachment(path.c_str(), &attachment); }

  const std::string& expected() const { return expected_; }

  BoundMapi mapi32;
  TempFolder folder;
  StrictMock<MockAttachment> attachment;
  StrictMock<MockStream> stream;

 private:
  std::string expected_;
};

using SizeAndPieces = std::pair<std::size_t, std::vector<ULONG>>;

class ReportFileOfSize : public ReportFile, public testing::WithParamInterface<SizeAndPieces> {};

TEST_P(ReportFileOfSize, IsWrittenInPiecesOf4096BytesAndSaved) {
  const auto& [size, pieces] = GetParam();
  const std::wstring path = makeFile(size);
  InSequence order;
  expectStream();
  std::string written;
  std::vector<ULONG> writes;
  EXPECT_CALL(stream, Write(_, _, testing::NotNull()))
      .Times(testing::AnyNumber())
      .WillRepeatedly([&](const void* bytes, ULONG count, ULONG*) {
        written.append(static_cast<const char*>(bytes), count);
        writes.push_back(count);
        return S_OK;
      });
  EXPECT_CALL(attachment, SaveChanges(0)).WillOnce([&](ULONG) {
    EXPECT_FALSE(stream.isHeld()) << "the stream is released before the attachment is saved";
    return S_OK;
  });
  EXPECT_EQ(copy(path), S_OK);
  EXPECT_THAT(writes, ElementsAreArray(pieces));
  EXPECT_EQ(written, expected());
}

INSTANTIATE_TEST_SUITE_P(
    , ReportFileOfSize,
    testing::Values(SizeAndPieces{0, {}}, SizeAndPieces{1, {1}}, SizeAndPieces{4095, {4095}},
                    SizeAndPieces{4096, {4096}}, SizeAndPieces{4097, {4096, 1}}, SizeAndPieces{8192, {4096, 4096}},
                    SizeAndPieces{33000, {4096, 4096, 4096, 4096, 4096, 4096, 4096, 4096, 232}}),
    [](const auto& row) { return std::to_string(row.param.first); });

TEST_F(ReportFile, ResultOfSavingTheAttachmentIsNotLookedAt) {
  expectStream();
  EXPECT_CALL(stream, Write).WillOnce(Return(S_OK));
  EXPECT_CALL(attachment, SaveChanges(0)).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_EQ(copy(makeFile(10)), S_OK);
}

TEST_F(ReportFile, FailedWriteEndsTheCopyUnsaved) {
  expectStream();
  EXPECT_CALL(stream, Write).WillOnce(Return(S_OK)).WillOnce(Return(MAPI_E_NOT_ENOUGH_DISK));
  EXPECT_EQ(copy(makeFile(10000)), MAPI_E_NOT_ENOUGH_DISK);
}

TEST_F(ReportFile, RefusedStreamGivesItsCode) {
  EXPECT_CALL(attachment, OpenProperty).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_EQ(copy(makeFile(10)), MAPI_E_NO_SUPPORT);
}

TEST_F(ReportFile, SuccessWithoutAStreamIsAFailedCall) {
  EXPECT_CALL(attachment, OpenProperty).WillOnce(Return(S_OK));
  EXPECT_EQ(copy(makeFile(10)), MAPI_E_CALL_FAILED);
}

TEST_F(ReportFile, MissingFileIsAFailedCallAfterTheStreamWasOpened) {
  expectStream();
  EXPECT_EQ(copy(folder.file(L"nowhere.rpt")), MAPI_E_CALL_FAILED);
}

TEST_F(ReportFile, FolderInThePlaceOfAFileIsAFailedCall) {
  expectStream();
  EXPECT_EQ(copy(folder.path().wstring()), MAPI_E_CALL_FAILED);
}

TEST_F(ReportFile, FileThatAnotherIsWritingIsAFailedCall) {
  const std::wstring path = makeFile(10);
  const HANDLE writer = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(writer, INVALID_HANDLE_VALUE);
  expectStream();
  EXPECT_EQ(copy(path), MAPI_E_CALL_FAILED);
  CloseHandle(writer);
}

TEST_F(ReportFile, FileThatAnotherIsReadingIsCopied) {
  const std::wstring path = makeFile(10);
  std::ifstream reader{std::filesystem::path(path), std::ios::binary};
  expectStream();
  EXPECT_CALL(stream, Write).WillOnce(Return(S_OK));
  EXPECT_CALL(attachment, SaveChanges).WillOnce(Return(S_OK));
  EXPECT_EQ(copy(path), S_OK);
}

TEST_F(ReportFile, IsClosedAfterwards) {
  const std::wstring path = makeFile(10);
  expectStream();
  EXPECT_CALL(stream, Write).WillOnce(Return(MAPI_E_CALL_FAILED));
  copy(path);
  EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_F(ReportFile, WithoutPathOrAttachmentIsAnInvalidParameter) {
  EXPECT_EQ(copyFileIntoAttachment(nullptr, &attachment), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(copyFileIntoAttachment(makeFile(10).c_str(), nullptr), MAPI_E_INVALID_PARAMETER);
}

TEST_F(ReportFile, NameThatHasNoAnsiFormIsAFailedCall) {
  const std::wstring path = folder.file(std::wstring(600, L'n'));
  expectStream();
  g_bUseAnsi = true;
  EXPECT_EQ(copy(path), MAPI_E_CALL_FAILED);
  g_bUseAnsi = false;
}

DWORD g_readError;

BOOL WINAPI failRead(HANDLE, void*, DWORD, DWORD* count, OVERLAPPED*) {
  *count = 0;
  SetLastError(g_readError);
  return FALSE;
}

struct ReadFailure {
  const char* row;
  DWORD error;
  HRESULT result;
  friend void PrintTo(const ReadFailure& value, std::ostream* out) { *out << value.row; }
};

class UnreadableReportFile : public ReportFile, public testing::WithParamInterface<ReadFailure> {};

TEST_P(UnreadableReportFile, GivesTheSystemsErrorAsAResultAndIsNotSaved) {
  const std::wstring path = makeFile(10);
  expectStream();
  g_readError = GetParam().error;
  const test::ImportHook hook("KERNEL32.dll", "ReadFile", failRead);
  EXPECT_EQ(copy(path), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    , UnreadableReportFile,
    testing::Values(ReadFailure{"LockViolation", ERROR_LOCK_VIOLATION, static_cast<HRESULT>(0x80070021)},
                    ReadFailure{"LargeError", 0x00012345, static_cast<HRESULT>(0x80072345)},
                    ReadFailure{"ErrorThatIsAResultAlready", 0x80040106, static_cast<HRESULT>(0x80040106)},
                    ReadFailure{"FailureWithoutAnError", 0, MAPI_E_CALL_FAILED}),
    [](const auto& row) { return std::string(row.param.row); });

}  // namespace
