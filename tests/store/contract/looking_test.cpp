// The contract for everything that the plug-in reads before it posts.
#include <cstring>

#include "contract_test.h"

namespace contract {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// ---- Memory ----

TEST_F(ContractTest, ChainedBlocksAreWritableAndFreedWithTheirTop) {
  void* top = nullptr;
  ASSERT_EQ(mapi().allocateBuffer(16 * sizeof(SPropValue), &top), S_OK);
  void* more = nullptr;
  ASSERT_EQ(mapi().allocateMore(1000, top, &more), S_OK);
  std::memset(top, 0x11, 16 * sizeof(SPropValue));
  std::memset(more, 0x22, 1000);
  EXPECT_EQ(mapi().freeBuffer(top), 0u);
}

TEST_F(ContractTest, FreeingNothingIsAllowed) { EXPECT_EQ(mapi().freeBuffer(nullptr), 0u); }

// ---- Sessions ----

class PasswordContract : public ContractTest {
 protected:
  const wchar_t* password() const override { return L"secret"; }
};

TEST_F(PasswordContract, RightPasswordLogsOn) { EXPECT_NE(session, nullptr); }

TEST_F(PasswordContract, WrongPasswordFailsTheLogon) {
  ComPtr<IMAPISession> other;
  EXPECT_EQ(logOn(L"Ada", L"wrong", other), MAPI_E_LOGON_FAILED);
  EXPECT_EQ(other, nullptr);
}

TEST_F(PasswordContract, MissingPasswordFailsTheLogon) {
  ComPtr<IMAPISession> other;
  EXPECT_EQ(logOn(L"Ada", nullptr, other), MAPI_E_LOGON_FAILED);
}

TEST_F(ContractTest, UnknownProfileFailsTheLogon) {
  ComPtr<IMAPISession> other;
  EXPECT_EQ(logOn(L"Nobody", L"secret", other), MAPI_E_LOGON_FAILED);
}

TEST_F(ContractTest, EveryLogonIsASessionOfItsOwn) {
  ComPtr<IMAPISession> other;
  ASSERT_EQ(logOn(L"Ada", L"", other), S_OK);
  EXPECT_NE(other.Get(), session.Get());
  EXPECT_EQ(other->Logoff(0, 0, 0), S_OK);
}

TEST_F(ContractTest, QueryInterfaceKnowsASessionAndNothingElse) {
  ComPtr<IUnknown> unknown;
  EXPECT_EQ(session->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(unknown.GetAddressOf())), S_OK);
  ComPtr<IMAPISession> same;
  EXPECT_EQ(unknown->QueryInterface(IID_IMAPISession, reinterpret_cast<void**>(same.GetAddressOf())), S_OK);
  EXPECT_EQ(same.Get(), session.Get());
  void* none = &none;
  EXPECT_EQ(session->QueryInterface(IID_IMAPITable, &none), E_NOINTERFACE);
  EXPECT_EQ(none, nullptr);
}

TEST_F(ContractTest, StatusTableNamesTheProfileInTheSubsystemsRow) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(session->GetStatusTable(0, &table), S_OK);
  EXPECT_GT(countOf(*table.Get()), 0u);
  Tags columns{PR_RESOURCE_TYPE, PR_DISPLAY_NAME_A};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
  std::vector<std::string> names;
  for (ULONG row = 0; row < rows->cRows; ++row) {
    const SPropValue* const values = rows->aRow[row].lpProps;
    if (values[0].ulPropTag == PR_RESOURCE_TYPE && values[0].Value.l == MAPI_SUBSYSTEM &&
        values[1].ulPropTag == PR_DISPLAY_NAME_A)
      names.push_back(values[1].Value.lpszA);
  }
  EXPECT_THAT(names, ElementsAre("Ada"));
}

TEST_F(ContractTest, IdentityOpensWithNameAndSearchKey) {
  ULONG size = 0;
  Block<ENTRYID> id;
  ASSERT_EQ(session->QueryIdentity(&size, receive(id)), S_OK);
  EXPECT_GT(size, 0u);
  ComPtr<IMAPIProp> user;
  ULONG type = 0;
  ASSERT_EQ(session->OpenEntry(size, id.get(), nullptr, MAPI_BEST_ACCESS, &type, unknownOut(user)), S_OK);
  EXPECT_EQ(type, static_cast<ULONG>(MAPI_MAILUSER));
  Tags tags{PR_DISPLAY_NAME_A, PR_SEARCH_KEY};
  ULONG count = 0;
  Block<SPropValue> values;
  ASSERT_EQ(user->GetProps(tags, 0, &count, receive(values)), S_OK);
  ASSERT_EQ(count, 2u);
  ASSERT_EQ(values.get()[0].ulPropTag, PR_DISPLAY_NAME_A);
  EXPECT_STRNE(values.get()[0].Value.lpszA, "");
  EXPECT_THAT(bytesOf(values.get()[1]), Not(IsEmpty()));
}

// ---- Stores ----

TEST_F(ContractTest, StoresTableHasNamesIdentifiersAndOneDefaultStore) {
  const ComPtr<IMAPITable> table = storesTable();
  Tags columns{PR_DISPLAY_NAME_A, PR_ENTRYID, PR_DEFAULT_STORE};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
  int defaults = 0;
  for (ULONG row = 0; row < rows->cRows; ++row) {
    const SPropValue* const values = rows->aRow[row].lpProps;
    EXPECT_EQ(values[0].ulPropTag, PR_DISPLAY_NAME_A);
    EXPECT_THAT(bytesOf(values[1]), Not(IsEmpty()));
    EXPECT_EQ(values[2].ulPropTag, PR_DEFAULT_STORE);
    defaults += values[2].Value.b ? 1 : 0;
  }
  EXPECT_EQ(defaults, 1);
}

TEST_F(ContractTest, DefaultStoreHasItsCommonViewsFolder) {
  const ComPtr<IMsgStore> store = openDefaultStore();
  ASSERT_NE(store, nullptr);
  Tags tags{PR_VALID_FOLDER_MASK, PR_COMMON_VIEWS_ENTRYID};
  ULONG count = 0;
  Block<SPropValue> values;
  ASSERT_EQ(store->GetProps(tags, 0, &count, receive(values)), S_OK);
  ASSERT_EQ(values.get()[0].ulPropTag, PR_VALID_FOLDER_MASK);
  EXPECT_NE(values.get()[0].Value.l & FOLDER_COMMON_VIEWS_VALID, 0);
  EXPECT_NE(openFolder(*store.Get(), bytesOf(values.get()[1]), MAPI_BEST_ACCESS, nullptr), nullptr);
}

TEST_F(ContractTest, StoreThatIsNotThereIsNotOpened) {
  const Bytes id(24, 0x77);
  ComPtr<IMsgStore> store;
  EXPECT_TRUE(FAILED(session->OpenMsgStore(0, 24, entryId(id), &IID_IMsgStore, MDB_WRITE | MDB_NO_DIALOG, &store)));
  EXPECT_EQ(store, nullptr);
}

TEST_F(ContractTest, MissingPropertyIsNotFoundByHrGetOneProp) {
  const ComPtr<IMsgStore> store = openPublicStore();
  Block<SPropValue> value;
  EXPECT_EQ(mapi().hrGetOneProp(store.Get(), PR_ATTACH_LONG_FILENAME_W, receive(value)), MAPI_E_NOT_FOUND);
  EXPECT_EQ(value, nullptr);
}

TEST_F(ContractTest, MissingPropertyIsAnErrorValueOfGetProps) {
  const ComPtr<IMsgStore> store = openPublicStore();
  Tags tags{PR_ATTACH_LONG_FILENAME_W, PR_IPM_SUBTREE_ENTRYID};
  ULONG count = 0;
  Block<SPropValue> values;
  EXPECT_EQ(store->GetProps(tags, 0, &count, receive(values)), MAPI_W_ERRORS_RETURNED);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(values.get()[0].ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(PR_ATTACH_LONG_FILENAME_W)));
  EXPECT_EQ(values.get()[0].Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(values.get()[1].ulPropTag, PR_IPM_SUBTREE_ENTRYID);
}

// ---- Folders ----

TEST_F(ContractTest, FolderOpensWithBestAccessAndForModification) {
  const ComPtr<IMsgStore> store = openPublicStore();
  const ComPtr<IMAPIFolder> subtree = openSubtree(*store.Get());
  ASSERT_NE(subtree, nullptr);
  const Bytes reports = findRow(*hierarchyOf(*subtree.Get()).Get(), L"Reports");
  EXPECT_NE(openFolder(*store.Get(), reports, MAPI_BEST_ACCESS), nullptr);
  EXPECT_NE(openFolder(*store.Get(), reports, MAPI_MODIFY), nullptr);
}

TEST_F(ContractTest, FolderThatIsNotThereIsNotOpened) {
  const ComPtr<IMsgStore> store = openPublicStore();
  const Bytes id(24, 0x77);
  ComPtr<IMAPIFolder> folder;
  ULONG type = 0;
  EXPECT_TRUE(FAILED(store->OpenEntry(24, entryId(id), &IID_IMAPIFolder, MAPI_BEST_ACCESS, &type, unknownOut(folder))));
  EXPECT_EQ(folder, nullptr);
}

TEST_F(ContractTest, FolderIsNoMessage) {
  const ComPtr<IMsgStore> store = openPublicStore();
  const ComPtr<IMAPIFolder> subtree = openSubtree(*store.Get());
  const Bytes reports = findRow(*hierarchyOf(*subtree.Get()).Get(), L"Reports");
  ComPtr<IMessage> message;
  ULONG type = 0;
  EXPECT_TRUE(FAILED(store->OpenEntry(static_cast<ULONG>(reports.size()), entryId(reports), &IID_IMessage, 0, &type,
                                      unknownOut(message))));
}

TEST_F(ContractTest, FolderOutlivesTheStoreThatOpenedIt) {
  ComPtr<IMsgStore> store = openPublicStore();
  const ComPtr<IMAPIFolder> subtree = openSubtree(*store.Get());
  store.Reset();
  EXPECT_EQ(countOf(*hierarchyOf(*subtree.Get()).Get()), 1u);
}

// ---- Tables ----

class LongTable : public ContractTest {
 protected:
  std::vector<std::wstring> foldersInReports() const override {
    std::vector<std::wstring> names;
    for (int number = 0; number < 59; ++number) names.push_back(L"Folder " + std::to_wstring(number));
    names.push_back(localName());
    return names;
  }

  void SetUp() override {
    ContractTest::SetUp();
    store_ = openPublicStore();
    ASSERT_NE(store_, nullptr);
    table = hierarchyOf(*openReports(*store_.Get()).Get());
    ASSERT_NE(table, nullptr);
  }
  void TearDown() override {
    table.Reset();
    store_.Reset();
    ContractTest::TearDown();
  }

  // The sizes of the batches of fifty from here to the end.
  std::vector<ULONG> batches() {
    std::vector<ULONG> sizes;
    do {
      Rows rows;
      EXPECT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
      sizes.push_back(rows ? rows->cRows : 0);
    } while (sizes.back() != 0);
    return sizes;
  }

  ComPtr<IMAPITable> table;

 private:
  ComPtr<IMsgStore> store_;
};

TEST_F(LongTable, IsPreparedAndReadInBatchesOfFifty) {
  Tags columns{PR_DISPLAY_NAME_A, PR_ENTRYID};
  EXPECT_EQ(table->Restrict(nullptr, 0), S_OK);
  EXPECT_EQ(table->SetColumns(columns, 0), S_OK);
  EXPECT_EQ(countOf(*table.Get()), 60u);
  EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
  EXPECT_THAT(batches(), ElementsAre(50u, 10u, 0u));
}

TEST_F(LongTable, IsReadAgainAfterASeekToItsBeginning) {
  Tags columns{PR_DISPLAY_NAME_A, PR_ENTRYID};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  batches();
  EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
  EXPECT_THAT(batches(), ElementsAre(50u, 10u, 0u));
}

TEST_F(LongTable, RowsHaveTheColumnsThatWereAskedForInTheirOrder) {
  Tags columns{PR_ENTRYID, PR_DISPLAY_NAME_A, PR_DISPLAY_NAME_W};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
  for (ULONG row = 0; row < rows->cRows; ++row) {
    ASSERT_EQ(rows->aRow[row].cValues, 3u);
    EXPECT_EQ(rows->aRow[row].lpProps[0].ulPropTag, PR_ENTRYID);
    EXPECT_EQ(rows->aRow[row].lpProps[1].ulPropTag, PR_DISPLAY_NAME_A);
    EXPECT_EQ(rows->aRow[row].lpProps[2].ulPropTag, PR_DISPLAY_NAME_W);
  }
}

TEST_F(LongTable, ColumnThatIsNotThereIsAnErrorValue) {
  Tags columns{PR_ATTACH_LONG_FILENAME_A, PR_ENTRYID};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(1, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 1u);
  EXPECT_EQ(rows->aRow[0].lpProps[0].ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(PR_ATTACH_LONG_FILENAME_A)));
  EXPECT_EQ(rows->aRow[0].lpProps[0].Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(rows->aRow[0].lpProps[1].ulPropTag, PR_ENTRYID);
}

TEST_F(LongTable, RowsAreFreedOneByOneThenTheirSet) {
  Tags columns{PR_DISPLAY_NAME_A, PR_ENTRYID};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  LPSRowSet rows = nullptr;
  ASSERT_EQ(table->QueryRows(50, 0, &rows), S_OK);
  for (ULONG row = 0; row < rows->cRows; ++row) EXPECT_EQ(mapi().freeBuffer(rows->aRow[row].lpProps), 0u);
  EXPECT_EQ(mapi().freeBuffer(rows), 0u);
}

TEST_F(LongTable, NamesAnswerInEightBitAndWideForm) {
  Tags columns{PR_DISPLAY_NAME_A, PR_DISPLAY_NAME_W};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 60u);
  int found = 0;
  for (ULONG row = 0; row < rows->cRows; ++row) {
    const SPropValue* const values = rows->aRow[row].lpProps;
    if (std::wstring_view(values[1].Value.lpszW) != localName()) continue;
    EXPECT_EQ(values[0].Value.lpszA, localNameInAnsi());
    ++found;
  }
  EXPECT_EQ(found, 1);
}

TEST_F(LongTable, AnswersItsOwnInterfaceOnly) {
  ComPtr<IMAPITable> same;
  EXPECT_EQ(table->QueryInterface(IID_IMAPITable, reinterpret_cast<void**>(same.GetAddressOf())), S_OK);
  void* none = &none;
  EXPECT_EQ(table->QueryInterface(IID_IMessage, &none), E_NOINTERFACE);
  EXPECT_EQ(none, nullptr);
}

TEST_F(ContractTest, TableWithoutRowsEndsAtOnce) {
  const ComPtr<IMsgStore> store = openPublicStore();
  const ComPtr<IMAPITable> table = contentsOf(*openReports(*store.Get()).Get());
  Tags columns{PR_SUBJECT_W, PR_ENTRYID};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  EXPECT_EQ(countOf(*table.Get()), 0u);
  Rows rows;
  ASSERT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
  EXPECT_EQ(rows->cRows, 0u);
}

}  // namespace
}  // namespace contract
