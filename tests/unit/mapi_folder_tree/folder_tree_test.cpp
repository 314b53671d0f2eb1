// Reading the tree of stores and folders, a node at a time.
#include "folder_tree_fixture.h"

using namespace fendrel;
using testing::_;
using testing::Args;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using testing::StrictMock;

namespace {

const std::vector<ULONG> columns = {PR_ENTRYID, PR_DISPLAY_NAME_A, PR_SUBFOLDERS, PR_CONTENT_COUNT};

TEST_F(FolderTree, RootHasTheProfilesNameAndNoLabel) {
  const FOLDERDATA root(&session, L"Default");
  EXPECT_TRUE(root.valid);
  EXPECT_STREQ(root.GetName(), L"Default");
  EXPECT_EQ(root.label, nullptr);
  EXPECT_TRUE(root.IsRoot());
  EXPECT_TRUE(root.HasChildren());
  EXPECT_EQ(root.entryIdSize, 0u);
  EXPECT_FALSE(root.isStore);
}

TEST_F(FolderTree, NodeWithoutNameIsNotValid) {
  EXPECT_FALSE(FOLDERDATA(&session, nullptr).valid);
  EXPECT_EQ(CreateFolderNode(&session, id("x"), nullptr, true, false), nullptr);
}

TEST_F(FolderTree, NodeCopiesIdentifierAndName) {
  std::string bytes = "inbox";
  wchar_t text[] = L"Inbox";
  const FOLDERDATA node(&session, id(bytes), text, true, false);
  bytes = "?????";
  text[0] = L'?';
  EXPECT_STREQ(node.GetName(), L"Inbox");
  EXPECT_EQ(std::memcmp(node.entryId.get(), "inbox", 5), 0);
}

TEST_F(FolderTree, RootListsTheStoresEachOpenedForBestAccess) {
  TestTable& stores = table({folderRow("public", "Public Folders"), folderRow("mailbox", "Mailbox - Ada")});
  EXPECT_CALL(session, GetMsgStoresTable(0, _)).WillOnce(handsOut(stores));
  EXPECT_CALL(stores, SetColumns(hasTags(columns), 0));
  EXPECT_CALL(session, OpenEntry(_, _, &IID_IMsgStore, MAPI_BEST_ACCESS, _, _))
      .Times(2)
      .WillRepeatedly(handsOutAs(store, MAPI_STORE));
  FOLDERDATA root(&session, L"Default");
  EXPECT_TRUE(root.Expand());
  EXPECT_THAT(names(root), ElementsAre(L"Mailbox - Ada", L"Public Folders"));
  EXPECT_STREQ(child(root, 1).label.get(), L"Public Folders");
  EXPECT_TRUE(child(root, 1).isStore);
  EXPECT_TRUE(child(root, 1).HasChildren());
  EXPECT_EQ(child(root, 1).store.Get(), &store);
}

TEST_F(FolderTree, StoreRowsWithoutIdentifierOrNameAreLeftOut) {
  TestTable& stores = table({{missing(PR_ENTRYID), text(PR_DISPLAY_NAME_A, "no identifier")},
                             {binary(PR_ENTRYID, ""), text(PR_DISPLAY_NAME_A, "empty identifier")},
                             {binary(PR_ENTRYID, "b"), missing(PR_DISPLAY_NAME_A)},
                             folderRow("c", "Good")});
  EXPECT_CALL(session, GetMsgStoresTable).WillOnce(handsOut(stores));
  EXPECT_CALL(session, OpenEntry).With(Args<0, 1>(isEntry("c"))).WillOnce(handsOutAs(store, MAPI_STORE));
  FOLDERDATA root(&session, L"Default");
  root.Expand();
  EXPECT_THAT(names(root), ElementsAre(L"Good"));
}

TEST_F(FolderTree, EmptyTableOfStoresIsNotPrepared) {
  TestTable& stores = table({});
  EXPECT_CALL(session, GetMsgStoresTable).WillOnce(handsOut(stores));
  EXPECT_CALL(stores, SetColumns).Times(0);
  FOLDERDATA root(&session, L"Default");
  EXPECT_TRUE(root.Expand());
  EXPECT_FALSE(root.HasChildren());
}

TEST_F(FolderTree, RefusedTableOfStoresShowsNothing) {
  EXPECT_CALL(session, GetMsgStoresTable).WillOnce(Return(MAPI_E_NO_ACCESS));
  FOLDERDATA root(&session, L"Default");
  EXPECT_TRUE(root.Expand());
  EXPECT_FALSE(root.HasChildren());
}

TEST_F(FolderTree, ExpandingTwiceReadsOnce) {
  TestTable& stores = table({folderRow("a", "Store")});
  EXPECT_CALL(session, GetMsgStoresTable).WillOnce(handsOut(stores));
  EXPECT_CALL(session, OpenEntry).WillOnce(handsOutAs(store, MAPI_STORE));
  FOLDERDATA root(&session, L"Default");
  root.Expand();
  EXPECT_TRUE(root.Expand());
  EXPECT_THAT(names(root), ElementsAre(L"Store"));
}

TEST_F(FolderTree, WaitCursorIsShownWhileANodeIsReadAndPutBack) {
  const HCURSOR before = LoadCursor(nullptr, IDC_CROSS);
  SetCursor(before);
  HCURSOR during = nullptr;
  EXPECT_CALL(session, GetMsgStoresTable).WillOnce([&](auto, auto) {
    during = GetCursor();
    return MAPI_E_NO_ACCESS;
  });
  FOLDERDATA root(&session, L"Default");
  root.Expand();
  EXPECT_EQ(during, LoadCursor(nullptr, IDC_WAIT));
  EXPECT_EQ(GetCursor(), before);
}

TEST_F(FolderTree, ObjectThatIsNoStoreIsNotUsedAsOne) {
  EXPECT_CALL(session, OpenEntry).WillOnce(handsOutAs(store, MAPI_FOLDER));
  const auto node = CreateFolderNode(&session, id("mailbox"), L"Mailbox", true, true);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->store, nullptr);
}

TEST_F(FolderTree, RefusedStoreShowsNoChildren) {
  EXPECT_CALL(session, OpenEntry).WillOnce(Return(MAPI_E_NO_ACCESS));
  FOLDERDATA root(&session, L"Default");
  root.AddChildLabelled(CreateFolderNode(&session, id("mailbox"), L"Mailbox", true, true));
  FOLDERDATA& mailbox = child(root);
  EXPECT_EQ(mailbox.store, nullptr);
  EXPECT_EQ(mailbox.OpenFolder(), nullptr);
  EXPECT_TRUE(mailbox.Expand());
  EXPECT_FALSE(mailbox.HasChildren());
}

// One opened store below a root.
class OpenStore : public FolderTree {
 protected:
  void SetUp() override {
    EXPECT_CALL(session, OpenEntry).WillOnce(handsOutAs(store, MAPI_STORE));
    root_.AddChildLabelled(CreateFolderNode(&session, id("mailbox"), L"Mailbox", true, true));
  }
  FOLDERDATA& mailbox() { return child(root_); }

  // A folder of the store, not read.
  FOLDERDATA& folderBelow(bool hasSubfolders) {
    mailbox().AddChildLabelled(CreateFolderNode(&session, id("inbox"), L"Inbox", hasSubfolders, false));
    return child(mailbox());
  }

  // The table that expanding the store reads.
  void giveSubtreeTable(MockTable& hierarchy) {
    giveSubtree("subtree");
    EXPECT_CALL(store, OpenEntry(_, _, nullptr, MAPI_BEST_ACCESS, _, _))
        .With(Args<0, 1>(isEntry("subtree")))
        .WillOnce(handsOutAs(folder, MAPI_FOLDER));
    EXPECT_CALL(folder, GetHierarchyTable(0, _)).WillOnce(handsOut(hierarchy));
  }

  StrictMock<MockFolder> folder;

 private:
  FOLDERDATA root_{&session, L"Default"};
};

TEST_F(OpenStore, ExpandsToTheFoldersBelowItsSubtree) {
  TestTable& hierarchy = table({folderRow("i", "Inbox", true), folderRow("c", "Calendar")});
  giveSubtreeTable(hierarchy);
  EXPECT_CALL(hierarchy, SetColumns(hasTags(columns), 0));
  EXPECT_TRUE(mailbox().Expand());
  EXPECT_THAT(names(mailbox()), ElementsAre(L"Calendar", L"Inbox"));
  const FOLDERDATA& inbox = child(mailbox(), 1);
  EXPECT_STREQ(inbox.label.get(), L"Mailbox@Inbox");
  EXPECT_TRUE(inbox.HasChildren());
  EXPECT_FALSE(inbox.isStore);
  EXPECT_EQ(inbox.store.Get(), &store);
  EXPECT_EQ(inbox.depth, 2u);
  EXPECT_FALSE(child(mailbox(), 0).HasChildren());
}

TEST_F(OpenStore, FolderExpandsThroughItsOwnEntryAndLabelsGoOn) {
  FOLDERDATA& inbox = folderBelow(true);
  TestTable& hierarchy = table({folderRow("r", "Reports")});
  EXPECT_CALL(store, OpenEntry(_, _, &IID_IMAPIFolder, MAPI_BEST_ACCESS, _, _))
      .With(Args<0, 1>(isEntry("inbox")))
      .WillOnce(handsOutAs(folder, MAPI_FOLDER));
  EXPECT_CALL(folder, GetHierarchyTable(0, _)).WillOnce(handsOut(hierarchy));
  inbox.Expand();
  EXPECT_STREQ(child(inbox).label.get(), L"Mailbox@Inbox@Reports");
}

TEST_F(OpenStore, FolderWithoutSubfoldersIsNeverOpened) {
  FOLDERDATA& inbox = folderBelow(false);
  EXPECT_TRUE(inbox.Expand());
  EXPECT_FALSE(inbox.HasChildren());
}

TEST_F(OpenStore, FolderWhoseSubfoldersAreGoneHasNoneAfterExpansion) {
  FOLDERDATA& inbox = folderBelow(true);
  TestTable& hierarchy = table({});
  EXPECT_CALL(store, OpenEntry).WillOnce(handsOutAs(folder, MAPI_FOLDER));
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(hierarchy));
  EXPECT_CALL(hierarchy, SetColumns).Times(0);
  EXPECT_TRUE(inbox.HasChildren());
  inbox.Expand();
  EXPECT_FALSE(inbox.HasChildren());
}

TEST_F(OpenStore, StoreWithoutSubtreeShowsNoChildren) {
  EXPECT_CALL(mapi32.functions, getOneProp).WillOnce(Return(MAPI_E_NOT_FOUND));
  EXPECT_TRUE(mailbox().Expand());
  EXPECT_FALSE(mailbox().HasChildren());
}

TEST_F(OpenStore, RefusedFolderShowsNoChildren) {
  FOLDERDATA& inbox = folderBelow(true);
  EXPECT_CALL(store, OpenEntry).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_TRUE(inbox.Expand());
  EXPECT_FALSE(inbox.HasChildren());
}

TEST_F(OpenStore, RefusedHierarchyTableShowsNoChildren) {
  FOLDERDATA& inbox = folderBelow(true);
  EXPECT_CALL(store, OpenEntry).WillOnce(handsOutAs(folder, MAPI_FOLDER));
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_TRUE(inbox.Expand());
  EXPECT_FALSE(inbox.HasChildren());
}

TEST_F(OpenStore, NamesThatDifferInCaseOnlyAreBothKeptTheLaterFirst) {
  TestTable& hierarchy = table({folderRow("1", "reports"), folderRow("2", "Reports"), folderRow("3", "REPORTS")});
  giveSubtreeTable(hierarchy);
  mailbox().Expand();
  EXPECT_THAT(names(mailbox()), ElementsAre(L"REPORTS", L"Reports", L"reports"));
}

TEST_F(OpenStore, RowWithoutBinaryIdentifierIsLeftOut) {
  TestTable& hierarchy = table({{missing(PR_ENTRYID), text(PR_DISPLAY_NAME_A, "error"), flag(PR_SUBFOLDERS, true)},
                                {binary(PR_ENTRYID, ""), text(PR_DISPLAY_NAME_A, "empty"), flag(PR_SUBFOLDERS, true)},
                                folderRow("g", "Good")});
  giveSubtreeTable(hierarchy);
  mailbox().Expand();
  EXPECT_THAT(names(mailbox()), ElementsAre(L"Good"));
}

TEST_F(OpenStore, AnyBinaryValueInTheFirstColumnIdentifiesAFolder) {
  TestTable& hierarchy =
      table({{binary(PR_RECORD_KEY, "k"), text(PR_DISPLAY_NAME_A, "Key"), flag(PR_SUBFOLDERS, false)}});
  giveSubtreeTable(hierarchy);
  mailbox().Expand();
  EXPECT_THAT(names(mailbox()), ElementsAre(L"Key"));
}

TEST_F(OpenStore, FolderWhoseNameCannotBeConvertedIsShownWithAnEmptyName) {
  TestTable& hierarchy = table({{binary(PR_ENTRYID, "k"), missing(PR_DISPLAY_NAME_A), flag(PR_SUBFOLDERS, false)}});
  giveSubtreeTable(hierarchy);
  mailbox().Expand();
  EXPECT_THAT(names(mailbox()), ElementsAre(L""));
  EXPECT_STREQ(child(mailbox()).label.get(), L"Mailbox@");
}

TEST_F(OpenStore, FolderThatDoesNotTellItsSubfoldersMayHaveSome) {
  TestTable& hierarchy = table({{binary(PR_ENTRYID, "k"), text(PR_DISPLAY_NAME_A, "Key"), missing(PR_SUBFOLDERS)},
                                {binary(PR_ENTRYID, "l"), text(PR_DISPLAY_NAME_A, "Lock")}});
  giveSubtreeTable(hierarchy);
  mailbox().Expand();
  EXPECT_TRUE(child(mailbox(), 0).HasChildren());
  EXPECT_TRUE(child(mailbox(), 1).HasChildren());
}

TEST_F(OpenStore, FolderThatMayHaveSubfoldersShowsThemWhenItIsExpanded) {
  TestTable& hierarchy = table({{binary(PR_ENTRYID, "k"), text(PR_DISPLAY_NAME_A, "Key"), missing(PR_SUBFOLDERS)}});
  giveSubtreeTable(hierarchy);
  mailbox().Expand();
  TestTable& below = table({folderRow("b", "Below")});
  StrictMock<MockFolder> key;
  EXPECT_CALL(store, OpenEntry).With(Args<0, 1>(isEntry("k"))).WillOnce(handsOutAs(key, MAPI_FOLDER));
  EXPECT_CALL(key, GetHierarchyTable).WillOnce(handsOut(below));
  child(mailbox()).Expand();
  EXPECT_THAT(names(child(mailbox())), ElementsAre(L"Below"));
}

TEST_F(OpenStore, RowsWithoutTheirColumnsAreLeftOut) {
  TestTable& hierarchy = table({folderRow("a", "Gone"), folderRow("b", "Gone too")});
  giveSubtreeTable(hierarchy);
  EXPECT_CALL(hierarchy, QueryRows)
      .WillOnce([&](auto, auto, SRowSet** set) {
        *set = makeRowSet(mapi32.heap, {{}, {}}, 0, 2);
        for (SRow& row : std::span((*set)->aRow, 2)) {
          mapi().mapiFreeBuffer(row.lpProps);
          row.cValues = 4;
          row.lpProps = nullptr;
        }
        return S_OK;
      })
      .WillOnce([&](auto, auto, SRowSet** set) {
        *set = makeRowSet(mapi32.heap, {}, 0, 0);
        return S_OK;
      });
  mailbox().Expand();
  EXPECT_THAT(names(mailbox()), IsEmpty());
}

TEST_F(OpenStore, ListingEndsSilentlyWhereTheTableFails) {
  std::vector<TestRow> rows;
  for (int i = 0; i < 60; ++i) rows.push_back(folderRow("x", "Folder"));
  TestTable& hierarchy = table(rows);
  giveSubtreeTable(hierarchy);
  EXPECT_CALL(hierarchy, QueryRows(50, 0, _))
      .WillOnce([&](auto, auto, SRowSet** set) {
        *set = makeRowSet(mapi32.heap, rows, 0, 50);
        return S_OK;
      })
      .WillOnce(Return(MAPI_E_NETWORK_ERROR));
  mailbox().Expand();
  EXPECT_EQ(names(mailbox()).size(), 50u);
}

TEST_F(OpenStore, ObjectThatIsNoFolderIsNotUsedAsOne) {
  FOLDERDATA& inbox = folderBelow(true);
  EXPECT_CALL(store, OpenEntry).WillOnce(handsOutAs(folder, MAPI_MESSAGE));
  EXPECT_EQ(inbox.OpenFolder(), nullptr);
}

}  // namespace
