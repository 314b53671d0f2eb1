// The contract's world in the local store: a database of the test's own, filled through MAPI.
#include <gtest/gtest.h>

#include <optional>

#include "contract_world.h"
#include "temp_folder.h"

const LocalMapi& mapi() {
  static const LocalMapi loaded = contract::loadMapi(L"bin/store/MAPI32.DLL");
  return loaded;
}

namespace {

std::optional<TempFolder> databaseFolder;

void createProfile(const wchar_t* password) {
  ComPtr<IProfAdmin> admin;
  ASSERT_EQ(mapi().adminProfiles(0, admin.GetAddressOf()), S_OK);
  ASSERT_EQ(admin->CreateProfile(const_cast<LPTSTR>(L"Ada"), const_cast<LPTSTR>(password), 0, MAPI_UNICODE), S_OK);
}

// The store "Public Folders" of the session.
ComPtr<IMsgStore> openPublicStore(IMAPISession& session) {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(session.GetMsgStoresTable(0, &table), S_OK);
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

void createFolders(IMsgStore& store, const std::vector<std::wstring>& foldersInReports) {
  Block<SPropValue> subtreeId;
  ASSERT_EQ(mapi().hrGetOneProp(&store, PR_IPM_SUBTREE_ENTRYID, receive(subtreeId)), S_OK);
  ComPtr<IMAPIFolder> subtree;
  ULONG type = 0;
  ASSERT_EQ(store.OpenEntry(subtreeId->Value.bin.cb, reinterpret_cast<LPENTRYID>(subtreeId->Value.bin.lpb), nullptr,
                            MAPI_MODIFY, &type, unknownOut(subtree)),
            S_OK);
  const auto create = [](IMAPIFolder& parent, const std::wstring& name) {
    ComPtr<IMAPIFolder> made;
    EXPECT_EQ(
        parent.CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(name.c_str()), nullptr, nullptr, MAPI_UNICODE, &made),
        S_OK);
    return made;
  };
  const ComPtr<IMAPIFolder> reports = create(*subtree.Get(), L"Reports");
  ASSERT_NE(reports, nullptr);
  for (const std::wstring& name : foldersInReports) create(*reports.Get(), name);
}

}  // namespace

namespace contract {

void makeWorld(const wchar_t* password, const std::vector<std::wstring>& foldersInReports) {
  databaseFolder.emplace();
  SetEnvironmentVariableW(L"FENDREL_STORE", databaseFolder->file(L"store.db").c_str());
  ASSERT_EQ(mapi().initialize(nullptr), S_OK);
  createProfile(password);
  {
    ComPtr<IMAPISession> session;
    ASSERT_EQ(mapi().logonEx(0, const_cast<LPTSTR>(L"Ada"), const_cast<LPTSTR>(password),
                             MAPI_UNICODE | MAPI_EXTENDED | MAPI_NEW_SESSION, &session),
              S_OK);
    {
      const ComPtr<IMsgStore> store = openPublicStore(*session.Get());
      ASSERT_NE(store, nullptr);
      createFolders(*store.Get(), foldersInReports);
    }
    EXPECT_EQ(session->Logoff(0, 0, 0), S_OK);
  }
  mapi().uninitialize();
}

// A database that is still open could not be removed.
void dropWorld() {
  const auto path = databaseFolder->path();
  databaseFolder.reset();
  EXPECT_FALSE(std::filesystem::exists(path)) << "the database is still in use";
  SetEnvironmentVariableW(L"FENDREL_STORE", nullptr);
}

}  // namespace contract
