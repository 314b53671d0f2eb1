// Who is logged on.
#include "bound_mapi.h"
#include "mapi_actions.h"
#include "profile_logon.h"

using namespace fendrel;
using testing::_;
using testing::Args;
using testing::InSequence;
using testing::Return;
using testing::StrictMock;

namespace {

std::vector<std::byte> bytes(const std::string& text) {
  const auto* const start = reinterpret_cast<const std::byte*>(text.data());
  return {start, start + text.size()};
}

class SessionIdentity : public testing::Test {
 protected:
  void giveIdentity(const std::string& entryId) {
    EXPECT_CALL(session, QueryIdentity).WillOnce([this, entryId](ULONG* size, ENTRYID** out) {
      *size = static_cast<ULONG>(entryId.size());
      auto* const block = mapi32.heap.make<char>(entryId.size() + 1);
      entryId.copy(block, entryId.size());
      *out = reinterpret_cast<ENTRYID*>(block);
      return S_OK;
    });
  }

  void giveUser(TestRow properties, HRESULT result = S_OK) {
    EXPECT_CALL(session, OpenEntry(_, _, nullptr, 0x10, _, _)).WillOnce(handsOutAs(user, MAPI_MAILUSER));
    EXPECT_CALL(user, GetProps(hasTags(std::vector<ULONG>{0x3001001E, 0x300B0102}), 0, _, _))
        .WillOnce(givesValues(mapi32.heap, std::move(properties), result));
  }

  HRESULT query() { return QuerySessionIdentity(&session, sender); }

  void expectEmpty() {
    EXPECT_TRUE(sender.senderEntryId.empty());
    EXPECT_EQ(sender.senderName, std::nullopt);
    EXPECT_TRUE(sender.senderSearchKey.empty());
    EXPECT_FALSE(sender.isComplete());
  }

  BoundMapi mapi32;
  StrictMock<MockSession> session;
  StrictMock<MockProperties> user;
  SenderIdentity sender{bytes("old"), L"Old", bytes("OLD")};
};

TEST_F(SessionIdentity, IsReadFromTheUsersEntry) {
  giveIdentity("user-1");
  EXPECT_CALL(session, OpenEntry(_, _, nullptr, 0x10, _, _))
      .With(Args<0, 1>(isEntry("user-1")))
      .WillOnce(handsOutAs(user, MAPI_MAILUSER));
  EXPECT_CALL(user, GetProps)
      .WillOnce(givesValues(mapi32.heap, {text(PR_DISPLAY_NAME_A, "Ann"), binary(PR_SEARCH_KEY, "EX:ANN")}));
  EXPECT_EQ(query(), S_OK);
  EXPECT_EQ(sender.senderEntryId, bytes("user-1"));
  EXPECT_EQ(sender.senderName, L"Ann");
  EXPECT_EQ(sender.senderSearchKey, bytes("EX:ANN"));
  EXPECT_TRUE(sender.isComplete());
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
  EXPECT_FALSE(user.isHeld());
}

TEST_F(SessionIdentity, FailedQueryLeavesTheOutputsAlone) {
  EXPECT_CALL(session, QueryIdentity).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_EQ(query(), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(sender.senderEntryId, bytes("old"));
  EXPECT_EQ(sender.senderName, L"Old");
  EXPECT_EQ(sender.senderSearchKey, bytes("OLD"));
}

TEST_F(SessionIdentity, EntryThatDoesNotOpenEmptiesTheOutputs) {
  giveIdentity("user-1");
  EXPECT_CALL(session, OpenEntry).WillOnce(Return(MAPI_E_UNKNOWN_ENTRYID));
  EXPECT_EQ(query(), MAPI_E_UNKNOWN_ENTRYID);
  expectEmpty();
}

TEST_F(SessionIdentity, EntryThatOpensAsNothingEmptiesTheOutputs) {
  giveIdentity("user-1");
  EXPECT_CALL(session, OpenEntry).WillOnce(Return(S_OK));
  EXPECT_TRUE(FAILED(query()));
  expectEmpty();
}

TEST_F(SessionIdentity, FailedPropertiesEmptyTheOutputsAndFreeWhatCame) {
  giveIdentity("user-1");
  giveUser({text(PR_DISPLAY_NAME_A, "Ann"), binary(PR_SEARCH_KEY, "K")}, MAPI_E_CALL_FAILED);
  EXPECT_EQ(query(), MAPI_E_CALL_FAILED);
  expectEmpty();
}

TEST_F(SessionIdentity, EmptyIdentifierIsOutOfMemory) {
  giveIdentity("");
  giveUser({text(PR_DISPLAY_NAME_A, "Ann"), binary(PR_SEARCH_KEY, "K")});
  EXPECT_EQ(query(), E_OUTOFMEMORY);
  expectEmpty();
}

TEST_F(SessionIdentity, MissingNameIsNoFailure) {
  giveIdentity("user-1");
  giveUser({missing(PR_DISPLAY_NAME_A), binary(PR_SEARCH_KEY, "K")}, MAPI_W_ERRORS_RETURNED);
  sender = {};
  EXPECT_EQ(query(), S_OK);
  EXPECT_EQ(sender.senderName, std::nullopt);
  EXPECT_EQ(sender.senderSearchKey, bytes("K"));
  EXPECT_FALSE(sender.isComplete());
}

TEST_F(SessionIdentity, MissingSearchKeyIsNoFailure) {
  giveIdentity("user-1");
  giveUser({text(PR_DISPLAY_NAME_A, "Ann"), missing(PR_SEARCH_KEY)}, MAPI_W_ERRORS_RETURNED);
  sender = {};
  EXPECT_EQ(query(), S_OK);
  EXPECT_EQ(sender.senderName, L"Ann");
  EXPECT_TRUE(sender.senderSearchKey.empty());
  EXPECT_FALSE(sender.isComplete());
}

TEST_F(SessionIdentity, SearchKeyOfNoBytesIsOutOfMemory) {
  giveIdentity("user-1");
  giveUser({text(PR_DISPLAY_NAME_A, "Ann"), binary(PR_SEARCH_KEY, "")});
  EXPECT_EQ(query(), E_OUTOFMEMORY);
  expectEmpty();
}

TEST_F(SessionIdentity, NameThatCannotBeConvertedIsOutOfMemory) {
  giveIdentity("user-1");
  giveUser({nullText(PR_DISPLAY_NAME_A), binary(PR_SEARCH_KEY, "K")});
  EXPECT_EQ(query(), E_OUTOFMEMORY);
  expectEmpty();
}

TEST(SenderIdentityRecord, IsCompleteOnlyWithAllThreeParts) {
  const auto some = bytes("x");
  EXPECT_TRUE((SenderIdentity{some, L"Ann", some}.isComplete()));
  EXPECT_TRUE((SenderIdentity{some, std::wstring(), some}.isComplete())) << "an empty name is a name";
  EXPECT_FALSE((SenderIdentity{{}, L"Ann", some}.isComplete()));
  EXPECT_FALSE((SenderIdentity{some, std::nullopt, some}.isComplete()));
  EXPECT_FALSE((SenderIdentity{some, L"Ann", {}}.isComplete()));
}

}  // namespace
