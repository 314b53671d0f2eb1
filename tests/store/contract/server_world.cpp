// The contract's world on the mail server beside which this program runs: Ada is alice there, and "Public Folders" the
// account that she shares, whose folder Reports is emptied for each test.
#include <fendrel/server_profile.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
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

// What the last test had in Reports.
std::vector<std::wstring> foldersThere;

std::wstring variable(const wchar_t* name) {
  wchar_t value[256] = L"";
  GetEnvironmentVariableW(name, value, 256);
  if (value[0] == 0) ADD_FAILURE() << "run this program with tools/mail-server run";
  return value;
}

std::string wordsOf(IMAPIProp& object, HRESULT failure) {
  Block<MAPIERROR> error;
  const HRESULT told = object.GetLastError(failure, 0, receive(error));
  if (FAILED(told) || !error || !error->lpszError) return "no words";
  return reinterpret_cast<const char*>(error->lpszError);
}

void createProfile() {
  ComPtr<IProfAdmin> admin;
  ASSERT_EQ(mapi().adminProfiles(0, admin.GetAddressOf()), S_OK);
  ASSERT_EQ(admin->CreateProfile(const_cast<LPTSTR>(L"Ada"), nullptr, 0, MAPI_UNICODE), S_OK);
  ComPtr<IMsgServiceAdmin> services;
  ASSERT_EQ(admin->AdminServices(const_cast<LPTSTR>(L"Ada"), nullptr, 0, MAPI_UNICODE, services.GetAddressOf()), S_OK);
  ComPtr<IMAPITable> table;
  ASSERT_EQ(services->GetMsgServiceTable(MAPI_UNICODE, table.GetAddressOf()), S_OK);
  SizedSPropTagArray(1, columns) = {1, {PR_SERVICE_UID}};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr, nullptr, 0,
                                  receive(rows)),
            S_OK);
  MAPIUID uid;
  std::memcpy(&uid, rows->aRow[0].lpProps[0].Value.bin.lpb, sizeof uid);
  const std::wstring url = L"http://localhost:" + variable(L"FENDREL_MAIL_HTTP"),
                     secret = variable(L"FENDREL_MAIL_PASSWORD");
  const std::pair<ULONG, const wchar_t*> texts[] = {{fendrel::serverUrlTag, url.c_str()},
                                                    {fendrel::serverUserTag, L"alice"},
                                                    {fendrel::publicAccountTag, L"public"},
                                                    {fendrel::serverSecretTag, secret.c_str()}};
  SPropValue values[4] = {};
  for (std::size_t i = 0; i < 4; ++i) {
    values[i].ulPropTag = texts[i].first;
    values[i].Value.lpszW = const_cast<wchar_t*>(texts[i].second);
  }
  ASSERT_EQ(services->ConfigureMsgService(&uid, 0, 0, 4, values), S_OK);
}

}  // namespace

namespace contract {

void makeWorld(const wchar_t*, const std::vector<std::wstring>& foldersInReports) {
  databaseFolder.emplace();
  SetEnvironmentVariableW(L"FENDREL_STORE", databaseFolder->file(L"store.db").c_str());
  ASSERT_EQ(mapi().initialize(nullptr), S_OK);
  createProfile();
  {
    const ComPtr<IMAPISession> session = logOnToFill(nullptr);
    ASSERT_NE(session, nullptr);
    {
      const ComPtr<IMsgStore> store = openPublicStore(*session.Get());
      ASSERT_NE(store, nullptr);
      const ComPtr<IMAPIFolder> reports = createFolder(*openSubtree(*store.Get()).Get(), L"Reports");
      ASSERT_NE(reports, nullptr);
      // Making many folders takes the server seconds, so the next test that reads the same ones finds them there.
      const bool areOnlyRead = foldersInReports.size() > 1;
      if (!areOnlyRead || foldersInReports != foldersThere) {
        const HRESULT emptied = reports->EmptyFolder(0, nullptr, 0);
        ASSERT_EQ(emptied, S_OK) << wordsOf(*reports.Get(), emptied);
        for (const std::wstring& name : foldersInReports) createFolder(*reports.Get(), name);
        foldersThere = foldersInReports;
      }
    }
    EXPECT_EQ(session->Logoff(0, 0, 0), S_OK);
  }
  mapi().uninitialize();
}

void dropWorld() {
  const auto path = databaseFolder->path();
  databaseFolder.reset();
  EXPECT_FALSE(std::filesystem::exists(path)) << "the database is still in use";
  SetEnvironmentVariableW(L"FENDREL_STORE", nullptr);
}

}  // namespace contract
