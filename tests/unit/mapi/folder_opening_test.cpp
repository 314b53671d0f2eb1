// Opening the folders of a message store.
#include "folder_opening.h"

#include "bound_mapi.h"
#include "mapi_actions.h"

using namespace fendrel;
using testing::_;
using testing::Args;
using testing::Return;
using testing::StrictMock;

namespace {

class FolderOpening : public testing::Test {
 protected:
  BoundMapi mapi32;
  StrictMock<MockStore> store;
  StrictMock<MockFolder> mock;
  const std::string idText = "inbox-id";
  const BinaryView entryId{reinterpret_cast<const std::byte*>(idText.data()), idText.size()};
  ComPtr<IMAPIFolder> folder;
};

TEST_F(FolderOpening, OpensTheEntryWithInterfaceAndFlagsAsGiven) {
  EXPECT_CALL(store, OpenEntry(_, _, &IID_IMAPIFolder, MAPI_MODIFY, _, _))
      .With(Args<0, 1>(isEntry(idText)))
      .WillOnce(handsOutAs(mock, MAPI_FOLDER));
  EXPECT_EQ(openFolderEntry(&store, entryId, &IID_IMAPIFolder, MAPI_MODIFY, folder), S_OK);
  EXPECT_EQ(folder.Get(), &mock);
}

TEST_F(FolderOpening, TypeThatTheStoreDoesNotTellIsTakenAsAFolder) {
  EXPECT_CALL(store, OpenEntry).WillOnce([&](auto, auto, auto, auto, ULONG*, IUnknown** out) {
    *out = mock.handOut();
    return S_OK;
  });
  EXPECT_EQ(openFolderEntry(&store, entryId, nullptr, MAPI_BEST_ACCESS, folder), S_OK);
}

TEST_F(FolderOpening, RefusedEntryGivesItsCode) {
  EXPECT_CALL(store, OpenEntry).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_EQ(openFolderEntry(&store, entryId, nullptr, MAPI_BEST_ACCESS, folder), MAPI_E_NO_ACCESS);
  EXPECT_EQ(folder, nullptr);
}

TEST_F(FolderOpening, EntryThatIsNoFolderIsReleasedAndNotFound) {
  StrictMock<MockMessage> message;
  EXPECT_CALL(store, OpenEntry).WillOnce(handsOutAs(message, MAPI_MESSAGE));
  EXPECT_EQ(openFolderEntry(&store, entryId, nullptr, MAPI_BEST_ACCESS, folder), MAPI_E_NOT_FOUND);
  EXPECT_EQ(folder, nullptr);
}

TEST_F(FolderOpening, SuccessWithoutAnObjectIsNotFound) {
  EXPECT_CALL(store, OpenEntry).WillOnce(Return(S_OK));
  EXPECT_EQ(openFolderEntry(&store, entryId, nullptr, MAPI_BEST_ACCESS, folder), MAPI_E_NOT_FOUND);
}

TEST_F(FolderOpening, EmptyIdentifierIsNotFoundInsteadOfOpeningTheStoresRoot) {
  EXPECT_EQ(openFolderEntry(&store, {}, nullptr, MAPI_BEST_ACCESS, folder), MAPI_E_NOT_FOUND);
}

TEST_F(FolderOpening, SubtreeIsTheEntryThatTheStoreNames) {
  EXPECT_CALL(mapi32.functions, getOneProp(&store, PR_IPM_SUBTREE_ENTRYID, _))
      .WillOnce([&](IMAPIProp*, ULONG, SPropValue** out) {
        *out = makeValues(mapi32.heap, {binary(PR_IPM_SUBTREE_ENTRYID, "top")});
        return S_OK;
      });
  EXPECT_CALL(store, OpenEntry(_, _, nullptr, MAPI_BEST_ACCESS, _, _))
      .With(Args<0, 1>(isEntry("top")))
      .WillOnce(handsOutAs(mock, MAPI_FOLDER));
  EXPECT_EQ(OpenIpmSubtree(&store, folder), S_OK);
  EXPECT_EQ(folder.Get(), &mock);
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

TEST_F(FolderOpening, StoreWithoutASubtreeGivesTheCodeOfTheCall) {
  EXPECT_CALL(mapi32.functions, getOneProp).WillOnce(Return(MAPI_E_NOT_FOUND));
  EXPECT_EQ(OpenIpmSubtree(&store, folder), MAPI_E_NOT_FOUND);
}

TEST_F(FolderOpening, SubtreeWithoutAValueIsNotFound) {
  EXPECT_CALL(mapi32.functions, getOneProp).WillOnce(Return(S_OK));
  EXPECT_EQ(OpenIpmSubtree(&store, folder), MAPI_E_NOT_FOUND);
}

}  // namespace
