// Making a job from a record of the host.
#include "bound_mapi.h"
#include "job_set_up.h"
#include "mapi_actions.h"

using namespace fendrel;
using testing::_;
using testing::Return;
using testing::StrEq;
using testing::StrictMock;

namespace {

class SilentSetUp : public testing::Test {
 protected:
  SilentSetUp() {
    options.version = 2;
    options.profileName = name.data();
    options.profilePassword = password.data();
    options.folderPath = path.data();
    options.destinationType = FENDREL_FOLDER_REPORT;
  }

  void expectLogon(const wchar_t* profileName, const wchar_t* profilePassword) {
    if (profilePassword)
      EXPECT_CALL(mapi32.functions, logonEx(_, StrEq(profileName), StrEq(profilePassword), 0x80008022, _))
          .WillOnce(handsOut(session));
    else
      EXPECT_CALL(mapi32.functions, logonEx(_, StrEq(profileName), nullptr, 0x80008022, _)).WillOnce(handsOut(session));
    EXPECT_CALL(session, GetStatusTable).WillOnce(handsOut(status));
    EXPECT_CALL(session, QueryIdentity).WillOnce(Return(MAPI_E_NOT_FOUND));
    EXPECT_CALL(session, Logoff).WillOnce(Return(S_OK));
  }
  std::uint32_t setUp() { return setUpJob(nullptr, &options, files, job); }

  BoundMapi mapi32;
  StrictMock<MockSession> session;
  TestTable status{mapi32.heap, {{number(PR_RESOURCE_TYPE, MAPI_SUBSYSTEM), text(PR_DISPLAY_NAME_A, "Sales")}}};
  std::wstring name = L"Sales", password = L"secret", path = L"Public Folders@Reports";
  DestinationOptions options{};
  FendrelFileList files{};
  std::unique_ptr<ExportJob> job;
};

TEST_F(SilentSetUp, TakesEverythingFromAnUnpackedRecord) {
  expectLogon(L"Sales", L"secret");
  ASSERT_EQ(setUp(), 0u);
  name = password = path = L"overwritten, as the job has copies";
  EXPECT_TRUE(job->optionsSupplied);
  EXPECT_EQ(job->session.Get(), &session);
  EXPECT_EQ(job->destination.profileName, L"Sales");
  EXPECT_EQ(job->destination.profilePassword, L"secret");
  EXPECT_EQ(job->destination.folderPath, L"Public Folders@Reports");
  EXPECT_EQ(job->destination.type, 1010u);
  EXPECT_EQ(options.version, 2u);
}

TEST_F(SilentSetUp, TakesAnyPostingType) {
  options.destinationType = 4711;
  expectLogon(L"Sales", L"secret");
  ASSERT_EQ(setUp(), 0u);
  EXPECT_EQ(job->destination.type, 4711u);
}

TEST_F(SilentSetUp, UnpackedRecordWithoutAProfileNameIsOutOfMemoryBeforeAnyLogon) {
  options.profileName = nullptr;
  EXPECT_EQ(setUp(), 2u);
  EXPECT_EQ(job, nullptr);
  EXPECT_EQ(options.version, 2u);
}

TEST_F(SilentSetUp, UnpackedRecordWithoutAPasswordIsOutOfMemoryBeforeAnyLogon) {
  options.profilePassword = nullptr;
  EXPECT_EQ(setUp(), 2u);
}

TEST_F(SilentSetUp, UnpackedRecordMayLackAFolderPath) {
  options.folderPath = nullptr;
  expectLogon(L"Sales", L"secret");
  ASSERT_EQ(setUp(), 0u);
  EXPECT_EQ(job->destination.folderPath, std::nullopt);
}

TEST_F(SilentSetUp, EncodedBlockSetsUpTheSameJob) {
  EncodedOptions encoded;
  std::uint16_t size = 0;
  ASSERT_EQ(encodeDestination({L"Sales", L"secret", L"A@B", FENDREL_REPORT_INSTANCE}, encoded, size), 0u);
  encoded->version = 5;
  expectLogon(L"Sales", L"secret");
  ASSERT_EQ(setUpJob(nullptr, encoded.get(), files, job), 0u);
  EXPECT_EQ(job->destination.folderPath, L"A@B");
  EXPECT_EQ(job->destination.type, 1011u);
  EXPECT_EQ(encoded->version, 5u);
}

TEST_F(SilentSetUp, PackedRecordMayLackPasswordAndPath) {
  EncodedOptions encoded;
  std::uint16_t size = 0;
  ASSERT_EQ(encodeDestination({.profileName = L"Sales", .type = FENDREL_PERSONAL_REPORT}, encoded, size), 0u);
  encoded->version = 2;
  expectLogon(L"Sales", nullptr);
  ASSERT_EQ(setUpJob(nullptr, encoded.get(), files, job), 0u);
  EXPECT_EQ(job->destination.profilePassword, std::nullopt);
  EXPECT_EQ(job->destination.folderPath, std::nullopt);
}

TEST_F(SilentSetUp, PackedRecordWithoutAProfileNameIsOutOfMemoryBeforeAnyLogon) {
  DestinationOptions packed{.version = 2, .packedSize = 48};
  EXPECT_EQ(setUpJob(nullptr, &packed, files, job), 2u);
  EXPECT_EQ(packed.version, 2u);
}

TEST_F(SilentSetUp, PackedRecordWithoutItsStringsIsRefused) {
  DestinationOptions packed{.version = 2, .packedSize = 48};
  packed.profileNameOffset = 46;
  EXPECT_EQ(setUpJob(nullptr, &packed, files, job), 5u);
  EXPECT_EQ(packed.version, 2u);
}

TEST_F(SilentSetUp, VersionBelowTwoIsRefusedAndLeftAlone) {
  options.version = 1;
  EXPECT_EQ(setUp(), 5u);
  EXPECT_EQ(options.version, 1u);
  EXPECT_EQ(job, nullptr);
}

TEST_F(SilentSetUp, FailedLogonGivesItsCodeAndTheVersionIsWrittenBack) {
  options.version = 9;
  EXPECT_CALL(mapi32.functions, logonEx).WillOnce(Return(MAPI_E_LOGON_FAILED));
  EXPECT_EQ(setUp(), FENDREL_FAILED);
  EXPECT_EQ(job, nullptr);
  EXPECT_EQ(options.version, 9u);
}

TEST_F(SilentSetUp, ProfileNameThatCannotBeReadEndsTheSession) {
  EXPECT_CALL(mapi32.functions, logonEx).WillOnce(handsOut(session));
  EXPECT_CALL(session, GetStatusTable).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_CALL(session, Logoff).WillOnce(Return(S_OK));
  EXPECT_EQ(setUp(), FENDREL_FAILED);
  EXPECT_FALSE(session.isHeld());
}

TEST_F(SilentSetUp, EveryFileHasItsReportName) {
  const FendrelFileDescription first{.fileNameTemplate = L"sales.*"}, third{.nameGiven = 1, .givenName = L"C:\\x.pdf"};
  const FendrelFileDescription* const descriptions[] = {&first, nullptr, &third};
  files.fileCount = 3;
  files.files = descriptions;
  expectLogon(L"Sales", L"secret");
  ASSERT_EQ(setUp(), 0u);
  EXPECT_THAT(job->fileNames, testing::ElementsAre(L"sales.txt", L"untitled.txt", L"x.pdf"));
}

TEST_F(SilentSetUp, NoFilesLogOnAllTheSame) {
  expectLogon(L"Sales", L"secret");
  ASSERT_EQ(setUp(), 0u);
  EXPECT_TRUE(job->fileNames.empty());
}

TEST_F(SilentSetUp, ParentWindowIsKept) {
  const auto window = reinterpret_cast<HWND>(static_cast<ULONG_PTR>(0x1234));
  expectLogon(L"Sales", L"secret");
  ASSERT_EQ(setUpJob(window, &options, files, job), 0u);
  EXPECT_EQ(job->parentWindow, window);
}

TEST_F(SilentSetUp, WithoutARecordMapiAsksAndACancelledLogonIsCancelled) {
  const FendrelFileDescription report{.fileNameTemplate = L"sales.rpt"}, other{.fileNameTemplate = L"a.longextension"};
  const FendrelFileDescription* const descriptions[] = {&report, &other};
  files.fileCount = 2;
  files.files = descriptions;
  EXPECT_CALL(mapi32.functions, logonEx(_, nullptr, nullptr, 0x80008023, _)).WillOnce(Return(MAPI_E_USER_CANCEL));
  EXPECT_EQ(setUpJob(nullptr, nullptr, files, job), FENDREL_CANCELLED);
  EXPECT_EQ(job, nullptr);
}

}  // namespace
