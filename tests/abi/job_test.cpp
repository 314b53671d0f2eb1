// The life of a job: creation, its handle and result record, its end.
#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(JobTest, StartsWithMapiInitializeWithoutARecord) {
  open();
  EXPECT_EQ(mapi.lines().at(0), "MAPIInitialize [] record=null");
}

TEST_F(JobTest, FailingMapiInitializeGivesMinusOneAtOnce) {
  mapi.fail("MAPIInitialize", 1, MAPI_E_CALL_FAILED);
  FileList files{L"report.txt"};
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  FendrelJob made = 0;
  EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &made, &result), FENDREL_FAILED);
  EXPECT_EQ(made, 0u);
  EXPECT_EQ(mapi.lines(), std::vector<std::string>{"MAPIInitialize [] record=null"});
  EXPECT_EQ(options.version, FENDREL_OPTIONS_VERSION);
}

TEST_F(JobTest, FailingMapiInitializeIsMinusOneWhateverItsCode) {
  mapi.fail("MAPIInitialize", 1, MAPI_E_NOT_ENOUGH_MEMORY);
  FileList files{L"report.txt"};
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  FendrelJob made = 0;
  EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &made, &result), FENDREL_FAILED);
}

TEST_F(JobTest, ResultRecordHoldsItsSizeAndZeros) {
  open();
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->size, 112);
  std::vector<uint8_t> rest(reinterpret_cast<uint8_t*>(result) + 2, reinterpret_cast<uint8_t*>(result) + 112);
  EXPECT_THAT(rest, ::testing::Each(0));
}

TEST_F(JobTest, ResultRecordIsLeftAloneByAnExport) {
  open();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(result->size, 112);
  EXPECT_EQ(result->count, 0);
  EXPECT_EQ(result->strings, nullptr);
}

TEST_F(JobTest, ErrorTextIsEmptyAtCreation) {
  open();
  EXPECT_STREQ(plugin().getErrorText(job), L"");
}

TEST_F(JobTest, ErrorTextOfNoJobIsNull) { EXPECT_EQ(plugin().getErrorText(0), nullptr); }

TEST_F(JobTest, FileCountZeroStillLogsOn) {
  FileList none;
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  EXPECT_EQ(tryToOpen(&options, none), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.callsOf("MAPILogonEx").size(), 1u);
}

TEST_F(JobTest, HandlesAreDifferentAndNeverZero) {
  const FendrelJob first = open();
  const FendrelJob second = open();
  EXPECT_NE(first, 0u);
  EXPECT_NE(second, 0u);
  EXPECT_NE(first, second);
}

TEST_F(JobTest, HandleIsWrittenAsThirtyTwoBits) {
  FileList files{L"report.txt"};
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  uint32_t handle[2] = {0, 0x5A5A5A5A};
  ASSERT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), handle, &result), FENDREL_SUCCESS);
  EXPECT_EQ(handle[1], 0x5A5A5A5Au);
  end(handle[0]);
}

TEST_F(JobTest, HandleIsNoAddress) {
  const FendrelJob handle = open();
  MEMORY_BASIC_INFORMATION memory{};
  ASSERT_NE(VirtualQuery(reinterpret_cast<void*>(static_cast<uintptr_t>(handle)), &memory, sizeof memory), 0u);
  EXPECT_NE(memory.State, static_cast<DWORD>(MEM_COMMIT));
}

TEST_F(JobTest, EndedHandleIsAnsweredLikeNone) {
  const FendrelJob ended = open();
  ASSERT_EQ(end(ended), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().getErrorText(ended), nullptr);
  EXPECT_EQ(post(ended, {file()}), FENDREL_INVALID_ARGUMENT);
  DestinationOptions* block = nullptr;
  uint16_t size = 0;
  EXPECT_EQ(plugin().encodeOptions(ended, &block, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(plugin().decodeOptions(ended, &block), FENDREL_INVALID_ARGUMENT);
}

TEST_F(JobTest, EndingAnEndedHandleTouchesNothing) {
  const FendrelJob ended = open();
  ASSERT_EQ(end(ended), FENDREL_SUCCESS);
  const auto before = mapi.everything().size();
  EXPECT_EQ(plugin().termExportDestination(ended), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.everything().size(), before);
}

TEST_F(JobTest, EndingAnUnknownHandleTouchesNothing) {
  EXPECT_EQ(plugin().termExportDestination(0x12345678), FENDREL_SUCCESS);
  EXPECT_THAT(mapi.everything(), IsEmpty());
}

TEST_F(JobTest, EndedHandleIsNotGivenAgainToTheNextJob) {
  const FendrelJob ended = open();
  end(ended);
  EXPECT_NE(open(), ended);
}

TEST_F(JobTest, EndLogsOffReleasesTheSessionAndUninitialisesLast) {
  open();
  const std::size_t before = mapi.everything().size();
  end(job);
  std::vector<std::string> lines;
  const auto all = mapi.everything();
  for (std::size_t index = before; index < all.size(); ++index)
    if (all[index].kind != RECORDED_MEMORY) lines.push_back(all[index].line());
  EXPECT_THAT(lines, ElementsAre("IMAPISession::Logoff [Default] window=0x0 flags=0x0 reserved=0x0",
                                 "IMAPISession::Release [Default] ", "MAPIUninitialize [] "));
}

TEST_F(JobTest, EndOfNoJobUninitialisesMapi) {
  EXPECT_EQ(plugin().termExportDestination(0), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.callsOf("MAPIUninitialize").size(), 1u);
  unmatchedInitialisations = -1;
}

TEST_F(JobTest, EveryJobHoldsOneMapiInitialisation) {
  const FendrelJob first = open();
  const FendrelJob second = open();
  EXPECT_EQ(mapi.counts().initialised, 2);
  end(second);
  EXPECT_EQ(mapi.counts().initialised, 1);
  end(first);
  EXPECT_EQ(mapi.counts().initialised, 0);
}

TEST_F(JobTest, FailedCreationLeavesItsMapiInitialisationUnmatched) {
  mapi.fail("MAPILogonEx", 1, MAPI_E_LOGON_FAILED);
  FileList files{L"report.txt"};
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  EXPECT_EQ(tryToOpen(&options, files), FENDREL_FAILED);
  EXPECT_EQ(mapi.callsOf("MAPIInitialize").size(), 1u);
  EXPECT_THAT(mapi.callsOf("MAPIUninitialize"), IsEmpty());
}

TEST_F(JobTest, TwoJobsPostIndependently) {
  const FendrelJob first = openPath(L"Public Folders@Reports");
  const FendrelJob second = openPath(L"Mailbox - Ada@Inbox");
  EXPECT_EQ(post(second, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(post(first, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.messages().at(0).folder, "Mailbox - Ada@Inbox");
  EXPECT_EQ(mapi.messages().at(1).folder, "Public Folders@Reports");
}

TEST_F(JobTest, ErrorTextBelongsToOneJob) {
  const FendrelJob failing = openPath(L"Nowhere");
  const FendrelJob other = open();
  EXPECT_EQ(post(failing, {file()}), FENDREL_FAILED);
  EXPECT_EQ(errorText(failing), L"MAPI object not found.");
  EXPECT_EQ(errorText(other), L"");
}

// The cursor that was set before a call is back after it; during it the wait cursor is shown.
class WaitCursorTest : public JobTest {
 protected:
  void SetUp() override {
    JobTest::SetUp();
    previous_ = SetCursor(cross_);
  }
  void TearDown() override {
    JobTest::TearDown();
    SetCursor(previous_);
  }

  HCURSOR cross_ = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_CROSS));

 private:
  HCURSOR previous_ = nullptr;
};

TEST_F(WaitCursorTest, IsShownDuringCreationAndPutBack) {
  open();
  for (const char* const name : {"MAPILogonEx", "IMAPISession::QueryIdentity"})
    EXPECT_TRUE(mapi.callsOf(name).at(0).waitCursor) << name;
  EXPECT_EQ(GetCursor(), cross_);
}

TEST_F(WaitCursorTest, IsPutBackAfterAFailedCreation) {
  mapi.fail("MAPILogonEx", 1, MAPI_E_LOGON_FAILED);
  FileList files{L"report.txt"};
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  EXPECT_EQ(tryToOpen(&options, files), FENDREL_FAILED);
  EXPECT_EQ(GetCursor(), cross_);
}

TEST_F(WaitCursorTest, IsShownDuringAnExportAndPutBack) {
  open();
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_TRUE(mapi.callsOf("IMAPIFolder::CreateMessage").at(0).waitCursor);
  EXPECT_EQ(GetCursor(), cross_);
}

TEST_F(WaitCursorTest, IsPutBackAfterAFailedExport) {
  openPath(L"Nowhere");
  EXPECT_EQ(post(job, {file()}), FENDREL_FAILED);
  EXPECT_EQ(GetCursor(), cross_);
}

TEST_F(WaitCursorTest, IsShownDuringTheEndAndPutBack) {
  open();
  end(job);
  EXPECT_TRUE(mapi.callsOf("IMAPISession::Logoff").at(0).waitCursor);
  EXPECT_EQ(GetCursor(), cross_);
}

}  // namespace
}  // namespace fendrel::test
