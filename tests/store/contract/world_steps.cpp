#include "world_steps.h"

#include <gtest/gtest.h>

namespace contract {

ComPtr<IMsgStore> openPublicStore(IMAPISession& session) {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(session.GetMsgStoresTable(0, &table), S_OK);
  if (!table) return nullptr;
  SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DISPLAY_NAME_W}};
  Rows rows;
  EXPECT_EQ(mapi().hrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr, nullptr, 0,
                                  receive(rows)),
            S_OK);
  ComPtr<IMsgStore> store;
  for (ULONG row = 0; rows && row < rows->cRows; ++row) {
    const SPropValue* const values = rows->aRow[row].lpProps;
    if (std::wstring_view(values[1].Value.lpszW) != L"Public Folders") continue;
    EXPECT_EQ(session.OpenMsgStore(0, values[0].Value.bin.cb, reinterpret_cast<LPENTRYID>(values[0].Value.bin.lpb),
                                   nullptr, MDB_WRITE, &store),
              S_OK);
  }
  return store;
}

ComPtr<IMAPIFolder> openSubtree(IMsgStore& store) {
  Block<SPropValue> id;
  EXPECT_EQ(mapi().hrGetOneProp(&store, PR_IPM_SUBTREE_ENTRYID, receive(id)), S_OK);
  ComPtr<IMAPIFolder> subtree;
  ULONG type = 0;
  if (id) {
    EXPECT_EQ(store.OpenEntry(id->Value.bin.cb, reinterpret_cast<LPENTRYID>(id->Value.bin.lpb), nullptr,
                              MAPI_BEST_ACCESS, &type, unknownOut(subtree)),
              S_OK);
  }
  return subtree;
}

ComPtr<IMAPIFolder> createFolder(IMAPIFolder& parent, const std::wstring& name) {
  ComPtr<IMAPIFolder> made;
  EXPECT_EQ(parent.CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(name.c_str()), nullptr, nullptr,
                                MAPI_UNICODE | OPEN_IF_EXISTS, &made),
            S_OK);
  return made;
}

ComPtr<IMAPISession> logOnToFill(const wchar_t* password) {
  ComPtr<IMAPISession> session;
  EXPECT_EQ(mapi().logonEx(0, const_cast<LPTSTR>(L"Ada"), const_cast<LPTSTR>(password),
                           MAPI_UNICODE | MAPI_EXTENDED | MAPI_NEW_SESSION, &session),
            S_OK);
  return session;
}

}  // namespace contract
