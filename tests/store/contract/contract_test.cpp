#include "contract_test.h"

namespace contract {

Bytes bytesOf(const SPropValue& value) {
  if (PROP_TYPE(value.ulPropTag) != PT_BINARY) return {};
  return {value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb};
}

LPENTRYID entryId(const Bytes& bytes) { return reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(bytes.data())); }

const wchar_t* localName() { return GetACP() == 932 ? L"日報" : L"Größe"; }

std::string localNameInAnsi() {
  char text[32] = "";
  WideCharToMultiByte(CP_ACP, 0, localName(), -1, text, sizeof text, nullptr, nullptr);
  return text;
}

void ContractTest::SetUp() {
  makeWorld(password(), foldersInReports());
  ASSERT_FALSE(HasFatalFailure());
  ASSERT_EQ(mapi().initialize(nullptr), S_OK);
  // A kept record always holds a password; the profile without one takes the empty one.
  ASSERT_EQ(logOn(L"Ada", password() ? password() : L"", session), S_OK);
}

void ContractTest::TearDown() {
  if (session) {
    EXPECT_EQ(session->Logoff(0, 0, 0), S_OK);
  }
  session.Reset();
  mapi().uninitialize();
  dropWorld();
}

HRESULT ContractTest::logOn(const wchar_t* profile, const wchar_t* password, ComPtr<IMAPISession>& opened) {
  return mapi().logonEx(0, const_cast<LPTSTR>(profile), const_cast<LPTSTR>(password),
                        MAPI_UNICODE | MAPI_NO_MAIL | MAPI_EXTENDED | MAPI_NEW_SESSION,
                        opened.ReleaseAndGetAddressOf());
}

ComPtr<IMAPITable> ContractTest::storesTable() {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(session->GetMsgStoresTable(0, &table), S_OK);
  return table;
}

ComPtr<IMsgStore> ContractTest::openStore(const Bytes& id, LPCIID interfaceId, ULONG flags) {
  ComPtr<IMsgStore> store;
  EXPECT_EQ(session->OpenMsgStore(0, static_cast<ULONG>(id.size()), entryId(id), interfaceId, flags, &store), S_OK);
  return store;
}

ComPtr<IMsgStore> ContractTest::openPublicStore() {
  return openStore(findRow(*storesTable().Get(), L"Public Folders"));
}

ComPtr<IMsgStore> ContractTest::openDefaultStore() {
  const ComPtr<IMAPITable> table = storesTable();
  Tags columns{PR_ENTRYID, PR_DEFAULT_STORE};
  EXPECT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  EXPECT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
  for (ULONG row = 0; rows && row < rows->cRows; ++row) {
    const SPropValue* const values = rows->aRow[row].lpProps;
    if (values[1].ulPropTag == PR_DEFAULT_STORE && values[1].Value.b)
      return openStore(bytesOf(values[0]), nullptr, MDB_WRITE);
  }
  ADD_FAILURE() << "no default store";
  return nullptr;
}

ComPtr<IMAPIFolder> ContractTest::openSubtree(IMsgStore& store) {
  Block<SPropValue> id;
  EXPECT_EQ(mapi().hrGetOneProp(&store, PR_IPM_SUBTREE_ENTRYID, receive(id)), S_OK);
  return id ? openFolder(store, bytesOf(*id), MAPI_BEST_ACCESS, nullptr) : nullptr;
}

ComPtr<IMAPIFolder> ContractTest::openFolder(IMsgStore& store, const Bytes& id, ULONG flags, LPCIID interfaceId) {
  ComPtr<IMAPIFolder> folder;
  ULONG type = 0;
  EXPECT_EQ(store.OpenEntry(static_cast<ULONG>(id.size()), entryId(id), interfaceId, flags, &type, unknownOut(folder)),
            S_OK);
  EXPECT_EQ(type, static_cast<ULONG>(MAPI_FOLDER));
  return folder;
}

Bytes ContractTest::findRow(IMAPITable& table, const wchar_t* name) {
  Tags columns{PR_DISPLAY_NAME_W, PR_ENTRYID};
  EXPECT_EQ(table.SetColumns(columns, 0), S_OK);
  EXPECT_EQ(table.SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
  for (;;) {
    Rows rows;
    EXPECT_EQ(table.QueryRows(50, 0, receive(rows)), S_OK);
    if (!rows || rows->cRows == 0) return {};
    for (ULONG row = 0; row < rows->cRows; ++row) {
      const SPropValue* const values = rows->aRow[row].lpProps;
      if (values[0].ulPropTag == PR_DISPLAY_NAME_W && std::wstring_view(values[0].Value.lpszW) == name)
        return bytesOf(values[1]);
    }
  }
}

ComPtr<IMAPITable> ContractTest::hierarchyOf(IMAPIFolder& folder) {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(folder.GetHierarchyTable(0, &table), S_OK);
  return table;
}

ComPtr<IMAPITable> ContractTest::contentsOf(IMAPIFolder& folder, ULONG flags) {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(folder.GetContentsTable(flags, &table), S_OK);
  return table;
}

ULONG ContractTest::countOf(IMAPITable& table) {
  ULONG count = 0xBAD;
  EXPECT_EQ(table.GetRowCount(0, &count), S_OK);
  return count;
}

ComPtr<IMAPIFolder> ContractTest::openReports(IMsgStore& store) {
  const ComPtr<IMAPIFolder> subtree = openSubtree(store);
  return openFolder(store, findRow(*hierarchyOf(*subtree.Get()).Get(), L"Reports"), MAPI_MODIFY);
}

}  // namespace contract
