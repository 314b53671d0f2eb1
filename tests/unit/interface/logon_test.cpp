// A job's logon and its end.
#include "bound_mapi.h"
#include "build_paths.h"
#include "export_job.h"
#include "mapi_actions.h"
#include "resource_module.h"

using namespace fendrel;
using testing::_;
using testing::InSequence;
using testing::NiceMock;
using testing::Return;
using testing::StrEq;
using testing::StrictMock;

namespace {

class JobLogon : public testing::Test {
 protected:
  JobLogon() { job.optionsSupplied = true; }

  // A session with a profile name and without an identity.
  void giveSession() {
    EXPECT_CALL(mapi32.functions, logonEx).WillOnce(handsOut(session)).RetiresOnSaturation();
    EXPECT_CALL(session, GetStatusTable).WillOnce(handsOut(status));
    EXPECT_CALL(session, QueryIdentity).WillOnce(Return(MAPI_E_NOT_FOUND));
    EXPECT_CALL(session, Logoff(0, 0, 0)).WillOnce(Return(S_OK));
  }

  BoundMapi mapi32;
  StrictMock<MockSession> session;
  TestTable status{mapi32.heap, {{number(PR_RESOURCE_TYPE, MAPI_SUBSYSTEM), text(PR_DISPLAY_NAME_A, "Real Name")}}};
  ExportJob job;
};

TEST_F(JobLogon, NewJobIsEmpty) {
  const ExportJob fresh;
  EXPECT_EQ(fresh.session, nullptr);
  EXPECT_EQ(fresh.destination.type, 0u);
  EXPECT_EQ(fresh.destination.profileName, std::nullopt);
  EXPECT_STREQ(fresh.errorText.get(), L"");
  EXPECT_EQ(fresh.encodedOptions, nullptr);
  EXPECT_EQ(fresh.resultRecord.size, 112u);
  EXPECT_EQ(fresh.resultRecord.count, 0u);
  EXPECT_EQ(fresh.resultRecord.strings, nullptr);
}

TEST_F(JobLogon, AgainEndsTheFirstSessionBeforeTheSecondIsOpened) {
  giveSession();
  ASSERT_EQ(Logon(job, L"One", L""), 0u);
  job.sender.senderName = L"Ann";
  EXPECT_CALL(mapi32.functions, logonEx(_, StrEq(L"Two"), _, _, _)).WillOnce([&](auto, auto, auto, auto, auto) {
    EXPECT_FALSE(session.isHeld()) << "the first session is still open";
    EXPECT_EQ(job.destination.profileName, std::nullopt);
    EXPECT_EQ(job.sender.senderName, std::nullopt);
    return MAPI_E_LOGON_FAILED;
  });
  EXPECT_EQ(Logon(job, L"Two", L""), FENDREL_FAILED);
}

TEST_F(JobLogon, FailureHasItsWordsAndNoSession) {
  EXPECT_CALL(mapi32.functions, logonEx).WillOnce(Return(MAPI_E_LOGON_FAILED));
  EXPECT_EQ(Logon(job, L"One", nullptr), FENDREL_FAILED);
  EXPECT_STREQ(job.errorText.get(), L"Cannot logon to Exchange Profile.");
  EXPECT_EQ(job.session, nullptr);
}

TEST_F(JobLogon, FailureReplacesTheMappingsWords) {
  EXPECT_CALL(mapi32.functions, logonEx).WillOnce(Return(MAPI_E_CALL_FAILED));
  Logon(job, L"One", nullptr);
  EXPECT_STREQ(job.errorText.get(), L"Cannot logon to Exchange Profile.");
}

TEST_F(JobLogon, FailureWithACodeOfItsOwnHasNoWords) {
  EXPECT_CALL(mapi32.functions, logonEx)
      .WillOnce(Return(MAPI_E_USER_CANCEL))
      .WillOnce(Return(MAPI_E_NOT_ENOUGH_MEMORY))
      .WillOnce(Return(MAPI_E_NOT_ENOUGH_DISK));
  EXPECT_EQ(Logon(job, nullptr, nullptr), FENDREL_CANCELLED);
  EXPECT_EQ(Logon(job, nullptr, nullptr), FENDREL_OUT_OF_MEMORY);
  EXPECT_EQ(Logon(job, nullptr, nullptr), FENDREL_NOT_ENOUGH_DISK);
  EXPECT_STREQ(job.errorText.get(), L"");
}

TEST_F(JobLogon, UnknownProfileNameHasItsWordsAndTheSessionStaysOpen) {
  EXPECT_CALL(mapi32.functions, logonEx).WillOnce(handsOut(session));
  EXPECT_CALL(session, GetStatusTable).WillOnce(Return(MAPI_E_NOT_FOUND));
  EXPECT_EQ(Logon(job, L"One", L""), FENDREL_FAILED);
  EXPECT_STREQ(job.errorText.get(), L"Cannot retrieve Exchange profile name.");
  EXPECT_EQ(job.session.Get(), &session);
  EXPECT_CALL(session, Logoff(0, 0, 0)).WillOnce(Return(S_OK));
}

TEST_F(JobLogon, UnknownProfileNameWithACodeOfItsOwnHasNoWords) {
  EXPECT_CALL(mapi32.functions, logonEx).WillOnce(handsOut(session));
  EXPECT_CALL(session, GetStatusTable).WillOnce(Return(MAPI_E_NOT_ENOUGH_MEMORY));
  EXPECT_CALL(session, Logoff).WillOnce(Return(S_OK));
  EXPECT_EQ(Logon(job, L"One", L""), FENDREL_OUT_OF_MEMORY);
  EXPECT_STREQ(job.errorText.get(), L"");
}

TEST_F(JobLogon, ReleasingForgetsNameAndIdentityAndKeepsTheRest) {
  giveSession();
  Logon(job, L"One", L"");
  job.sender = {{std::byte{1}}, L"Ann", {std::byte{2}}};
  job.destination.folderPath = L"A@B";
  job.destination.profilePassword = L"pw";
  EXPECT_EQ(ReleaseSession(job), 0u);
  EXPECT_FALSE(session.isHeld());
  EXPECT_EQ(job.destination.profileName, std::nullopt);
  EXPECT_TRUE(job.sender.senderEntryId.empty());
  EXPECT_EQ(job.sender.senderName, std::nullopt);
  EXPECT_TRUE(job.sender.senderSearchKey.empty());
  EXPECT_EQ(job.destination.folderPath, L"A@B");
  EXPECT_EQ(job.destination.profilePassword, L"pw");
  EXPECT_EQ(ReleaseSession(job), 0u) << "once more is harmless";
}

}  // namespace
