// Opening the Common Views folder of the default store.
#include "posting_world.h"
#include "target_folder.h"

using namespace fendrel;
using testing::_;
using testing::Args;
using testing::Return;
using testing::StrictMock;

namespace {

TestRow storeRow(const std::string& entryId, bool isDefault) {
  return {binary(PR_ENTRYID, entryId), flag(PR_DEFAULT_STORE, isDefault)};
}

class CommonViews : public testing::Test {
 protected:
  void giveStores(std::vector<TestRow> rows) {
    stores = std::make_unique<TestTable>(mapi32.heap, std::move(rows));
    EXPECT_CALL(session, GetMsgStoresTable(0, _)).WillOnce(handsOut(*stores));
  }
  void giveDefaultStore() {
    giveStores({storeRow("mailbox", true)});
    EXPECT_CALL(session, OpenMsgStore).WillOnce(handsOut(store));
  }
  void giveProperties(TestRow values, HRESULT result = S_OK) {
    EXPECT_CALL(store, GetProps(hasTags(std::vector<ULONG>{PR_VALID_FOLDER_MASK, PR_COMMON_VIEWS_ENTRYID}), 0, _, _))
        .WillOnce(givesValues(mapi32.heap, std::move(values), result));
  }
  HRESULT open() { return openCommonViews(&session, target); }

  BoundMapi mapi32;
  std::unique_ptr<TestTable> stores;
  StrictMock<MockSession> session;
  StrictMock<MockStore> store;
  StrictMock<MockFolder> folder;
  TargetFolder target;
};

TEST_F(CommonViews, AreOpenedInTheFirstDefaultStore) {
  giveStores({storeRow("public", false), storeRow("mailbox", true), storeRow("second", true)});
  EXPECT_CALL(*stores, SetColumns(hasTags(std::vector<ULONG>{PR_ENTRYID, PR_DEFAULT_STORE}), 0)).WillOnce(Return(S_OK));
  EXPECT_CALL(session, OpenMsgStore(0, _, _, nullptr, MDB_WRITE, _))
      .With(Args<1, 2>(isEntry("mailbox")))
      .WillOnce(handsOut(store));
  giveProperties({number(PR_VALID_FOLDER_MASK, 0x40), binary(PR_COMMON_VIEWS_ENTRYID, "views")});
  EXPECT_CALL(store, OpenEntry(_, _, nullptr, MAPI_BEST_ACCESS, _, _))
      .With(Args<0, 1>(isEntry("views")))
      .WillOnce(handsOutAs(folder, MAPI_FOLDER));
  EXPECT_EQ(open(), S_OK);
  EXPECT_EQ(target.folder.Get(), &folder);
  EXPECT_FALSE(store.isHeld()) << "the folder keeps its own reference of the store";
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

TEST_F(CommonViews, WithoutADefaultStoreAreNotFound) {
  giveStores({storeRow("public", false), {binary(PR_ENTRYID, "broken"), missing(PR_DEFAULT_STORE)}});
  EXPECT_EQ(open(), MAPI_E_NOT_FOUND);
}

TEST_F(CommonViews, WithoutAnyStoreAreNotFound) {
  giveStores({});
  EXPECT_EQ(open(), MAPI_E_NOT_FOUND);
}

TEST_F(CommonViews, RefusedStoresTableGivesItsCode) {
  EXPECT_CALL(session, GetMsgStoresTable).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_EQ(open(), MAPI_E_NO_SUPPORT);
}

TEST_F(CommonViews, FailedPreparationGivesItsCode) {
  giveStores({storeRow("mailbox", true)});
  EXPECT_CALL(*stores, SetColumns).WillOnce(Return(MAPI_E_NOT_ENOUGH_MEMORY));
  EXPECT_EQ(open(), MAPI_E_NOT_ENOUGH_MEMORY);
}

TEST_F(CommonViews, FailedReadingGivesItsCode) {
  giveStores({storeRow("mailbox", true)});
  EXPECT_CALL(*stores, QueryRows).WillOnce(Return(MAPI_E_CORRUPT_DATA));
  EXPECT_EQ(open(), MAPI_E_CORRUPT_DATA);
}

TEST_F(CommonViews, StoreThatDoesNotOpenIsNotFoundWhateverItsCode) {
  giveStores({storeRow("mailbox", true)});
  EXPECT_CALL(session, OpenMsgStore).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_EQ(open(), MAPI_E_NOT_FOUND);
}

TEST_F(CommonViews, StoreThatOpensAsNothingIsNotFound) {
  giveStores({storeRow("mailbox", true)});
  EXPECT_CALL(session, OpenMsgStore).WillOnce(Return(S_OK));
  EXPECT_EQ(open(), MAPI_E_NOT_FOUND);
}

TEST_F(CommonViews, FailedPropertiesGiveTheirCode) {
  giveDefaultStore();
  giveProperties({}, MAPI_E_NO_ACCESS);
  EXPECT_EQ(open(), MAPI_E_NO_ACCESS);
}

TEST_F(CommonViews, MaskThatTheStoreDoesNotHaveIsAFailedCall) {
  giveDefaultStore();
  giveProperties({missing(PR_VALID_FOLDER_MASK), binary(PR_COMMON_VIEWS_ENTRYID, "views")}, MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(open(), MAPI_E_CALL_FAILED);
}

TEST_F(CommonViews, IdentifierThatTheStoreDoesNotHaveIsAFailedCall) {
  giveDefaultStore();
  giveProperties({number(PR_VALID_FOLDER_MASK, 0x40), missing(PR_COMMON_VIEWS_ENTRYID)}, MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(open(), MAPI_E_CALL_FAILED);
}

TEST_F(CommonViews, ThatTheMaskDoesNotTellAreNoFailureButNoFolder) {
  giveDefaultStore();
  giveProperties({number(PR_VALID_FOLDER_MASK, 0xFF & ~0x40), binary(PR_COMMON_VIEWS_ENTRYID, "views")});
  EXPECT_EQ(open(), S_OK);
  EXPECT_EQ(target.folder, nullptr);
}

TEST_F(CommonViews, FolderThatDoesNotOpenGivesItsCode) {
  giveDefaultStore();
  giveProperties({number(PR_VALID_FOLDER_MASK, 0x40), binary(PR_COMMON_VIEWS_ENTRYID, "views")});
  EXPECT_CALL(store, OpenEntry).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_EQ(open(), MAPI_E_NO_ACCESS);
  EXPECT_EQ(target.folder, nullptr);
  EXPECT_FALSE(store.isHeld());
}

}  // namespace
