// Logging on, and the name of the profile that is in use.
#include "profile_logon.h"

#include "bound_mapi.h"
#include "mapi_actions.h"

using namespace fendrel;
using testing::_;
using testing::AnyNumber;
using testing::DoAll;
using testing::InSequence;
using testing::Pointee;
using testing::Return;
using testing::SetArgPointee;
using testing::StrEq;
using testing::StrictMock;

namespace {

constexpr ULONG silentFlags = 0x80008022;
constexpr ULONG interactiveFlags = 0x80008023;

class SessionOpening : public testing::Test {
 protected:
  BoundMapi mapi32;
  StrictMock<MockSession> mock;
  ComPtr<IMAPISession> session;
};

TEST_F(SessionOpening, SilentLogonNamesProfileAndPasswordAndShowsNothing) {
  EXPECT_CALL(mapi32.functions, logonEx(reinterpret_cast<ULONG_PTR>(GetActiveWindow()), StrEq(L"Sales"), StrEq(L"pw"),
                                        silentFlags, _))
      .WillOnce(handsOut(mock));
  EXPECT_EQ(openSession(L"Sales", L"pw", true, session), S_OK);
  EXPECT_EQ(session.Get(), &mock);
}

TEST_F(SessionOpening, InteractiveLogonLetsMapiAsk) {
  EXPECT_CALL(mapi32.functions, logonEx(_, nullptr, nullptr, interactiveFlags, _)).WillOnce(handsOut(mock));
  EXPECT_EQ(openSession(nullptr, nullptr, false, session), S_OK);
}

TEST_F(SessionOpening, FailureGivesItsCodeAndNoSession) {
  EXPECT_CALL(mapi32.functions, logonEx).WillOnce(Return(MAPI_E_LOGON_FAILED));
  EXPECT_EQ(openSession(L"Sales", nullptr, true, session), MAPI_E_LOGON_FAILED);
  EXPECT_EQ(session, nullptr);
}

TEST_F(SessionOpening, SuccessWithoutASessionIsAFailedCall) {
  EXPECT_CALL(mapi32.functions, logonEx).WillOnce(Return(S_OK));
  EXPECT_EQ(openSession(L"Sales", nullptr, true, session), MAPI_E_CALL_FAILED);
}

TEST_F(SessionOpening, ClosingLogsOffBeforeItReleases) {
  session = mock.handOut();
  mock.Release();
  EXPECT_CALL(mock, Logoff(0, 0, 0)).WillOnce([&](ULONG_PTR, ULONG, ULONG) {
    EXPECT_TRUE(mock.isHeld());
    return MAPI_E_CALL_FAILED;
  });
  closeSession(session);
  EXPECT_EQ(session, nullptr);
  EXPECT_FALSE(mock.isHeld());
}

TEST_F(SessionOpening, ClosingWithoutASessionCallsNothing) { closeSession(session); }

class ProfileName : public testing::Test {
 protected:
  // The status table with `rows`. Without an identity, so that only the name is looked at.
  void give(std::vector<TestRow> rows) {
    status = std::make_unique<TestTable>(mapi32.heap, std::move(rows));
    EXPECT_CALL(session, GetStatusTable(0, _)).WillOnce(handsOut(*status));
    EXPECT_CALL(session, QueryIdentity).Times(AnyNumber()).WillRepeatedly(Return(MAPI_E_NOT_FOUND));
  }

  HRESULT read() { return GetSessionProfileName(&session, profileName, sender); }

  BoundMapi mapi32;
  StrictMock<MockSession> session;
  std::unique_ptr<TestTable> status;
  std::optional<std::wstring> profileName;
  SenderIdentity sender;
};

TEST_F(ProfileName, IsThatOfTheSubsystemsRow) {
  give({{number(PR_RESOURCE_TYPE, MAPI_SPOOLER), text(PR_DISPLAY_NAME_A, "Spooler")},
        {number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, "Sales")}});
  EXPECT_EQ(read(), S_OK);
  EXPECT_EQ(profileName, L"Sales");
}

TEST_F(ProfileName, IsReadByResourceTypeAndDisplayName) {
  give({{number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, "Sales")}});
  EXPECT_CALL(*status, SetColumns(hasTags(std::vector<ULONG>{0x3E030003, 0x3001001E}), 0)).WillOnce(Return(S_OK));
  EXPECT_CALL(*status, Restrict(nullptr, 0)).WillOnce(Return(S_OK));
  EXPECT_CALL(*status, SortTable).Times(0);
  EXPECT_EQ(read(), S_OK);
}

TEST_F(ProfileName, OfTheFirstMatchingRowWins) {
  give({{number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, "First")},
        {number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, "Second")}});
  EXPECT_EQ(read(), S_OK);
  EXPECT_EQ(profileName, L"First");
}

TEST_F(ProfileName, RowsWithoutANameArePassedOver) {
  give({{number(PR_RESOURCE_TYPE, 39), missing(PR_DISPLAY_NAME_A)},
        {number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, "Sales")}});
  EXPECT_EQ(read(), S_OK);
  EXPECT_EQ(profileName, L"Sales");
}

TEST_F(ProfileName, RowsWithoutATypeArePassedOver) {
  give({{missing(PR_RESOURCE_TYPE), text(PR_DISPLAY_NAME_A, "Nobody")}});
  EXPECT_EQ(read(), MAPI_E_NOT_FOUND);
}

TEST_F(ProfileName, IsNotFoundWhenNoRowHasOne) {
  give({{number(PR_RESOURCE_TYPE, 39), missing(PR_DISPLAY_NAME_A)}});
  EXPECT_EQ(read(), MAPI_E_NOT_FOUND);
  EXPECT_EQ(profileName, std::nullopt);
}

TEST_F(ProfileName, IsNotFoundWithoutASubsystemsRow) {
  give({{number(PR_RESOURCE_TYPE, MAPI_STORE_PROVIDER), text(PR_DISPLAY_NAME_A, "Store")}});
  EXPECT_EQ(read(), MAPI_E_NOT_FOUND);
}

TEST_F(ProfileName, IsConvertedFromTheAnsiCodePage) {
  const char name[] = "Gr\xFC\xDF" "e";
  wchar_t expected[20];
  ASSERT_NE(MultiByteToWideChar(CP_ACP, 0, name, -1, expected, 20), 0);
  give({{number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, name)}});
  EXPECT_EQ(read(), S_OK);
  EXPECT_EQ(profileName, expected);
}

TEST_F(ProfileName, ThatCannotBeConvertedIsOutOfMemory) {
  give({{number(PR_RESOURCE_TYPE, 39), nullText(PR_DISPLAY_NAME_A)}});
  EXPECT_EQ(read(), E_OUTOFMEMORY);
}

TEST_F(ProfileName, StatusTableWithoutRowsIsSuccessWithoutANameAndWithoutAnIdentity) {
  status = std::make_unique<TestTable>(mapi32.heap, std::vector<TestRow>{});
  EXPECT_CALL(session, GetStatusTable).WillOnce(handsOut(*status));
  EXPECT_EQ(read(), S_OK);
  EXPECT_EQ(profileName, std::nullopt);
}

TEST_F(ProfileName, RefusedStatusTableGivesItsCode) {
  EXPECT_CALL(session, GetStatusTable).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_EQ(read(), MAPI_E_NO_SUPPORT);
}

TEST_F(ProfileName, FailedRowCountGivesItsCode) {
  give({});
  EXPECT_CALL(*status, GetRowCount).WillOnce(Return(MAPI_E_CALL_FAILED));
  EXPECT_EQ(read(), MAPI_E_CALL_FAILED);
}

TEST_F(ProfileName, FailedPreparationGivesItsCode) {
  give({{number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, "Sales")}});
  EXPECT_CALL(*status, SetColumns).WillOnce(Return(MAPI_E_CORRUPT_DATA));
  EXPECT_EQ(read(), MAPI_E_CORRUPT_DATA);
  EXPECT_FALSE(status->isHeld());
}

TEST_F(ProfileName, FailedReadingGivesItsCode) {
  give({{number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, "Sales")}});
  EXPECT_CALL(*status, QueryRows).WillOnce(Return(MAPI_E_NOT_ENOUGH_MEMORY));
  EXPECT_EQ(read(), MAPI_E_NOT_ENOUGH_MEMORY);
}

TEST_F(ProfileName, StandsWithoutAnIdentity) {
  give({{number(PR_RESOURCE_TYPE, 39), text(PR_DISPLAY_NAME_A, "Sales")}});
  EXPECT_CALL(session, QueryIdentity).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_EQ(read(), S_OK);
  EXPECT_EQ(profileName, L"Sales");
  EXPECT_FALSE(sender.isComplete());
}

}  // namespace
