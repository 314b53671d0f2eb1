// Opening the folder that a path names: the calls, their order, and what a failure leaves.
#include "posting_world.h"
#include "target_folder.h"

using namespace fendrel;
using testing::_;
using testing::Args;
using testing::InSequence;
using testing::Return;
using testing::StrictMock;

namespace {

class FolderByPath : public testing::Test {
 protected:
  // The stores table for the next opening.
  void giveStores(std::vector<TestRow> rows) {
    stores = std::make_unique<TestTable>(mapi32.heap, std::move(rows));
    EXPECT_CALL(session, GetMsgStoresTable(0, _)).WillOnce(handsOut(*stores));
  }
  void giveStore() {
    giveStores({named("Store", "store-id")});
    EXPECT_CALL(session, OpenMsgStore).WillOnce(handsOut(store));
  }
  void giveSubtree() {
    EXPECT_CALL(mapi32.functions, getOneProp(_, PR_IPM_SUBTREE_ENTRYID, _))
        .WillOnce([&](IMAPIProp*, ULONG, SPropValue** out) {
          *out = makeValues(mapi32.heap, {binary(PR_IPM_SUBTREE_ENTRYID, "top-id")});
          return S_OK;
        });
    EXPECT_CALL(store, OpenEntry(_, _, nullptr, MAPI_BEST_ACCESS, _, _))
        .With(Args<0, 1>(isEntry("top-id")))
        .WillOnce(handsOutAs(top, MAPI_FOLDER));
  }
  // `parent` has one child folder; its table is asked for once.
  std::unique_ptr<TestTable> giveChild(MockFolder& parent, const std::string& name, const std::string& entryId) {
    auto table =
        std::make_unique<TestTable>(mapi32.heap, std::vector<TestRow>{named("Other", "x"), named(name, entryId)});
    EXPECT_CALL(parent, GetHierarchyTable(0, _)).WillOnce(handsOut(*table));
    return table;
  }
  HRESULT open(const wchar_t* path, bool silent = true) { return openFolderByPath(&session, path, silent, target); }

  BoundMapi mapi32;
  std::unique_ptr<TestTable> stores;
  StrictMock<MockSession> session;
  StrictMock<MockStore> store;
  StrictMock<MockFolder> top, reports, daily;
  TargetFolder target;
};

TEST_F(FolderByPath, EmptyPathIsAFailedCallWithoutAnyCall) { EXPECT_EQ(open(L""), MAPI_E_CALL_FAILED); }

TEST_F(FolderByPath, StoreAloneNamesItsSubtree) {
  giveStores({named("Other", "x"), named("Store", "store-id")});
  EXPECT_CALL(*stores, SetColumns(hasTags(std::vector<ULONG>{PR_DISPLAY_NAME_A, PR_ENTRYID}), 0))
      .WillOnce(Return(S_OK));
  EXPECT_CALL(session,
              OpenMsgStore(reinterpret_cast<ULONG_PTR>(GetActiveWindow()), _, _, &IID_IMsgStore, 5, _))
      .With(Args<1, 2>(isEntry("store-id")))
      .WillOnce(handsOut(store));
  giveSubtree();
  EXPECT_EQ(open(L"Store"), S_OK);
  EXPECT_EQ(target.store.Get(), &store);
  EXPECT_EQ(target.folder.Get(), &top);
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

TEST_F(FolderByPath, InteractiveJobLetsTheStoreAsk) {
  giveStores({named("Store", "store-id")});
  EXPECT_CALL(session, OpenMsgStore(_, _, _, _, MDB_WRITE, _)).WillOnce(handsOut(store));
  giveSubtree();
  EXPECT_EQ(open(L"Store", false), S_OK);
}

TEST_F(FolderByPath, LastComponentIsOpenedForModification) {
  giveStore();
  giveSubtree();
  const auto children = giveChild(top, "Reports", "reports-id");
  EXPECT_CALL(*children, SetColumns(hasTags(std::vector<ULONG>{PR_DISPLAY_NAME_A, PR_ENTRYID}), 0))
      .WillOnce(Return(S_OK));
  EXPECT_CALL(store, OpenEntry(_, _, &IID_IMAPIFolder, MAPI_MODIFY, _, _))
      .With(Args<0, 1>(isEntry("reports-id")))
      .WillOnce(handsOutAs(reports, MAPI_FOLDER));
  EXPECT_EQ(open(L"Store@Reports"), S_OK);
  EXPECT_EQ(target.folder.Get(), &reports);
}

TEST_F(FolderByPath, ComponentsOnTheWayAreOpenedWithBestAccess) {
  giveStore();
  giveSubtree();
  const auto children = giveChild(top, "Reports", "reports-id");
  const auto grandchildren = giveChild(reports, "Daily", "daily-id");
  EXPECT_CALL(store, OpenEntry(_, _, &IID_IMAPIFolder, MAPI_BEST_ACCESS, _, _))
      .With(Args<0, 1>(isEntry("reports-id")))
      .WillOnce(handsOutAs(reports, MAPI_FOLDER));
  EXPECT_CALL(store, OpenEntry(_, _, &IID_IMAPIFolder, MAPI_MODIFY, _, _))
      .With(Args<0, 1>(isEntry("daily-id")))
      .WillOnce(handsOutAs(daily, MAPI_FOLDER));
  EXPECT_EQ(open(L"Store@Reports@Daily"), S_OK);
  EXPECT_EQ(target.folder.Get(), &daily);
  EXPECT_FALSE(top.isHeld());
  EXPECT_FALSE(reports.isHeld());
}

TEST_F(FolderByPath, ParentIsReleasedBeforeItsChildIsOpened) {
  giveStore();
  giveSubtree();
  const auto children = giveChild(top, "Reports", "reports-id");
  EXPECT_CALL(store, OpenEntry(_, _, &IID_IMAPIFolder, MAPI_MODIFY, _, _))
      .WillOnce([&](auto, auto, auto, auto, auto, auto) {
        EXPECT_FALSE(top.isHeld());
        EXPECT_FALSE(children->isHeld());
        return MAPI_E_NO_ACCESS;
      });
  EXPECT_EQ(open(L"Store@Reports"), MAPI_E_NO_ACCESS);
}

TEST_F(FolderByPath, UnknownStoreIsNotFound) {
  giveStores({named("Other", "x")});
  EXPECT_EQ(open(L"Store@Reports"), MAPI_E_NOT_FOUND);
  EXPECT_EQ(target.store, nullptr);
}

TEST_F(FolderByPath, UnknownFolderIsNotFoundAndLeavesTheStoreAlone) {
  giveStore();
  giveSubtree();
  const auto children = giveChild(top, "Reports", "reports-id");
  EXPECT_EQ(open(L"Store@Nowhere"), MAPI_E_NOT_FOUND);
  EXPECT_EQ(target.folder, nullptr);
  EXPECT_EQ(target.store.Get(), &store);
  EXPECT_FALSE(top.isHeld());
}

TEST_F(FolderByPath, SeparatorAtTheEndAsksForAFolderWithoutAName) {
  giveStore();
  giveSubtree();
  const auto children = giveChild(top, "Reports", "reports-id");
  EXPECT_EQ(open(L"Store@"), MAPI_E_NOT_FOUND);
}

TEST_F(FolderByPath, RefusedStoresTableGivesItsCode) {
  EXPECT_CALL(session, GetMsgStoresTable).WillOnce(Return(MAPI_E_NOT_ENOUGH_MEMORY));
  EXPECT_EQ(open(L"Store"), MAPI_E_NOT_ENOUGH_MEMORY);
}

TEST_F(FolderByPath, FailedPreparationOfTheStoresGivesItsCode) {
  giveStores({named("Store", "store-id")});
  EXPECT_CALL(*stores, SetColumns).WillOnce(Return(MAPI_E_CORRUPT_DATA));
  EXPECT_EQ(open(L"Store"), MAPI_E_CORRUPT_DATA);
}

TEST_F(FolderByPath, StoreThatDoesNotOpenGivesItsCode) {
  giveStores({named("Store", "store-id")});
  EXPECT_CALL(session, OpenMsgStore).WillOnce(Return(MAPI_E_FAILONEPROVIDER));
  EXPECT_EQ(open(L"Store"), MAPI_E_FAILONEPROVIDER);
}

TEST_F(FolderByPath, StoreThatOpensAsNothingIsAFailedCall) {
  giveStores({named("Store", "store-id")});
  EXPECT_CALL(session, OpenMsgStore).WillOnce(Return(S_OK));
  EXPECT_EQ(open(L"Store"), MAPI_E_CALL_FAILED);
}

TEST_F(FolderByPath, StoreWithoutASubtreeGivesTheCodeOfTheCall) {
  giveStore();
  EXPECT_CALL(mapi32.functions, getOneProp).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_EQ(open(L"Store"), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(target.store.Get(), &store) << "the store is released by its owner";
}

TEST_F(FolderByPath, RefusedHierarchyGivesItsCode) {
  giveStore();
  giveSubtree();
  EXPECT_CALL(top, GetHierarchyTable).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_EQ(open(L"Store@Reports"), MAPI_E_NO_ACCESS);
  EXPECT_FALSE(top.isHeld());
}

TEST_F(FolderByPath, FailedReadingOfTheHierarchyGivesItsCode) {
  giveStore();
  giveSubtree();
  const auto children = giveChild(top, "Reports", "reports-id");
  EXPECT_CALL(*children, QueryRows).WillOnce(Return(MAPI_E_CORRUPT_DATA));
  EXPECT_EQ(open(L"Store@Reports"), MAPI_E_CORRUPT_DATA);
}

}  // namespace
