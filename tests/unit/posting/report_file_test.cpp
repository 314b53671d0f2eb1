// Copying a file into an attachment: cases that a host cannot cause.
#include "report_file.h"

#include <filesystem>
#include <fstream>

#include "bound_mapi.h"
#include "charset.h"
#include "import_hook.h"
#include "mapi_actions.h"
#include "temp_folder.h"

using namespace fendrel;
using testing::_;
using testing::StrictMock;

namespace {

class ReportFile : public testing::Test {
 protected:
  std::wstring makeFile() {
    const std::wstring path = folder.file(L"report.rpt");
    std::ofstream(std::filesystem::path(path)) << "content";
    return path;
  }
  void expectStream() {
    EXPECT_CALL(attachment, OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, 0x1001, 3, _)).WillOnce(handsOut(stream));
  }
  HRESULT copy(const std::wstring& path) { return copyFileIntoAttachment(path.c_str(), &attachment); }

  BoundMapi mapi32;
  TempFolder folder;
  StrictMock<MockAttachment> attachment;
  StrictMock<MockStream> stream;
};

TEST_F(ReportFile, WithoutPathOrAttachmentIsAnInvalidParameter) {
  EXPECT_EQ(copyFileIntoAttachment(nullptr, &attachment), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(copyFileIntoAttachment(makeFile().c_str(), nullptr), MAPI_E_INVALID_PARAMETER);
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
  const std::wstring path = makeFile();
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
