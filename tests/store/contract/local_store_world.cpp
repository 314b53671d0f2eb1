// The contract's world in the local store: a database of the test's own, filled through MAPI.
#include <gtest/gtest.h>

#include <optional>

#include "contract_world.h"
#include "temp_folder.h"
#include "world_steps.h"

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

}  // namespace

namespace contract {

void makeWorld(const wchar_t* password, const std::vector<std::wstring>& foldersInReports) {
  databaseFolder.emplace();
  SetEnvironmentVariableW(L"FENDREL_STORE", databaseFolder->file(L"store.db").c_str());
  ASSERT_EQ(mapi().initialize(nullptr), S_OK);
  createProfile(password);
  {
    const ComPtr<IMAPISession> session = logOnToFill(password);
    ASSERT_NE(session, nullptr);
    {
      const ComPtr<IMsgStore> store = openPublicStore(*session.Get());
      ASSERT_NE(store, nullptr);
      const ComPtr<IMAPIFolder> reports = createFolder(*openSubtree(*store.Get()).Get(), L"Reports");
      ASSERT_NE(reports, nullptr);
      for (const std::wstring& name : foldersInReports) createFolder(*reports.Get(), name);
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
