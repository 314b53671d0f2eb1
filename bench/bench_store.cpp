#include "bench_store.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>

namespace fendrel::bench {
namespace {

const IID messageStoreId = {0x00020306, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct StoreColumns {
  ULONG count = 2;
  ULONG tags[2] = {PR_DISPLAY_NAME_W, PR_ENTRYID};
};

// Opens the entry of the row with this display name; null if there is none.
template <class Open>
void openNamed(const Mapi& mapi, IMAPITable* table, const wchar_t* name, Open open) {
  StoreColumns columns;
  require(table->SetColumns(reinterpret_cast<SPropTagArray*>(&columns), 0), "SetColumns");
  for (;;) {
    SRowSet* rows = nullptr;
    require(table->QueryRows(50, 0, &rows), "QueryRows");
    const ULONG count = rows->cRows;
    for (ULONG row = 0; row < count; ++row) {
      SPropValue* const values = rows->aRow[row].lpProps;
      if (values[0].ulPropTag == PR_DISPLAY_NAME_W && std::wcscmp(values[0].Value.lpszW, name) == 0)
        open(values[1].Value.bin.cb, reinterpret_cast<ENTRYID*>(values[1].Value.bin.lpb));
      mapi.freeBuffer(values);
    }
    mapi.freeBuffer(rows);
    if (count == 0) return;
  }
}

void makeProfile(const Mapi& mapi) {
  ComPtr<IProfAdmin> admin;
  require(mapi.adminProfiles(0, &admin), "MAPIAdminProfiles");
  const HRESULT result =
      admin->CreateProfile(reinterpret_cast<LPTSTR>(const_cast<wchar_t*>(profileName)), nullptr, 0, MAPI_UNICODE);
  if (result != MAPI_E_NO_ACCESS) require(result, "CreateProfile");  // there already
}

void makeFolder(const Mapi& mapi, IMsgStore* store) {
  SPropValue* subtreeId = nullptr;
  require(mapi.getOneProp(store, PR_IPM_SUBTREE_ENTRYID, &subtreeId), "HrGetOneProp");
  ULONG type = 0;
  ComPtr<IUnknown> subtree;
  require(store->OpenEntry(subtreeId->Value.bin.cb, reinterpret_cast<ENTRYID*>(subtreeId->Value.bin.lpb), nullptr,
                           MAPI_MODIFY, &type, &subtree),
          "OpenEntry");
  mapi.freeBuffer(subtreeId);
  ComPtr<IMAPIFolder> folder;
  require(static_cast<IMAPIFolder*>(subtree.Get())
              ->CreateFolder(FOLDER_GENERIC, reinterpret_cast<LPTSTR>(const_cast<wchar_t*>(folderName)), nullptr,
                             nullptr, MAPI_UNICODE | OPEN_IF_EXISTS, &folder),
          "CreateFolder");
}

template <class Function>
void bind(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(GetProcAddress(module, name));
  require(function ? S_OK : MAPI_E_NOT_FOUND, name);
}

ComPtr<IMsgStore> openPublicStore(const Mapi& mapi, IMAPISession* session) {
  ComPtr<IMAPITable> stores;
  require(session->GetMsgStoresTable(0, &stores), "GetMsgStoresTable");
  ComPtr<IMsgStore> store;
  openNamed(mapi, stores.Get(), storeName, [&](ULONG size, ENTRYID* entryId) {
    require(session->OpenMsgStore(0, size, entryId, &messageStoreId, MDB_WRITE, &store), "OpenMsgStore");
  });
  require(store ? S_OK : MAPI_E_NOT_FOUND, "Public Folders");
  return store;
}

ComPtr<IMAPISession> logOn(const Mapi& mapi) {
  ComPtr<IMAPISession> session;
  require(mapi.logonEx(0, const_cast<wchar_t*>(profileName), const_cast<wchar_t*>(L""),
                       MAPI_UNICODE | MAPI_NO_MAIL | MAPI_EXTENDED | MAPI_NEW_SESSION, &session),
          "MAPILogonEx");
  return session;
}

// The plug-in looks up the profile's name there.
void readStatus(const Mapi& mapi, IMAPISession* session) {
  ComPtr<IMAPITable> status;
  require(session->GetStatusTable(0, &status), "GetStatusTable");
  openNamed(mapi, status.Get(), L"", [](ULONG, ENTRYID*) {});
}

void readIdentity(const Mapi& mapi, OpenFolder& open) {
  ULONG size = 0;
  ENTRYID* identity = nullptr;
  require(open.session->QueryIdentity(&size, &identity), "QueryIdentity");
  open.identity.assign(reinterpret_cast<BYTE*>(identity), reinterpret_cast<BYTE*>(identity) + size);
  ULONG type = 0;
  ComPtr<IUnknown> user;
  require(open.session->OpenEntry(size, identity, nullptr, MAPI_BEST_ACCESS, &type, &user), "OpenEntry of the user");
  mapi.freeBuffer(identity);
  SPropValue* searchKey = nullptr;
  require(mapi.getOneProp(static_cast<IMAPIProp*>(user.Get()), PR_SEARCH_KEY, &searchKey), "HrGetOneProp of the user");
  const SBinary& key = searchKey->Value.bin;
  open.searchKey.assign(key.lpb, key.lpb + key.cb);
  mapi.freeBuffer(searchKey);
}

}  // namespace

void require(HRESULT result, const char* what) {
  if (SUCCEEDED(result)) return;
  std::fprintf(stderr, "post_bench: %s failed with 0x%08lX\n", what, static_cast<unsigned long>(result));
  std::exit(1);
}

Mapi openStore(const std::wstring& buildFolder, const std::wstring& store) {
  SetEnvironmentVariableW(L"FENDREL_STORE", store.c_str());
  const HMODULE module = LoadLibraryW((buildFolder + L"\\bin\\store\\MAPI32.DLL").c_str());
  require(module ? S_OK : MAPI_E_NOT_FOUND, "loading the local store");
  Mapi mapi{};
  bind(module, "MAPIInitialize", mapi.initialize);
  bind(module, "MAPIUninitialize", mapi.uninitialize);
  bind(module, "MAPILogonEx", mapi.logonEx);
  bind(module, "MAPIAllocateBuffer", mapi.allocateBuffer);
  bind(module, "MAPIFreeBuffer", mapi.freeBuffer);
  bind(module, "MAPIAdminProfiles", mapi.adminProfiles);
  bind(module, "HrGetOneProp", mapi.getOneProp);
  require(mapi.initialize(nullptr), "MAPIInitialize");
  makeProfile(mapi);
  const ComPtr<IMAPISession> session = logOn(mapi);
  makeFolder(mapi, openPublicStore(mapi, session.Get()).Get());
  session->Logoff(0, 0, 0);
  return mapi;
}

OpenFolder openFolder(const Mapi& mapi) {
  OpenFolder open;
  open.session = logOn(mapi);
  readStatus(mapi, open.session.Get());
  readIdentity(mapi, open);
  open.store = openPublicStore(mapi, open.session.Get());
  SPropValue* subtreeId = nullptr;
  require(mapi.getOneProp(open.store.Get(), PR_IPM_SUBTREE_ENTRYID, &subtreeId), "HrGetOneProp");
  ULONG type = 0;
  ComPtr<IUnknown> subtree;
  require(open.store->OpenEntry(subtreeId->Value.bin.cb, reinterpret_cast<ENTRYID*>(subtreeId->Value.bin.lpb), nullptr,
                                MAPI_BEST_ACCESS, &type, &subtree),
          "OpenEntry");
  mapi.freeBuffer(subtreeId);
  ComPtr<IMAPITable> children;
  require(static_cast<IMAPIFolder*>(subtree.Get())->GetHierarchyTable(0, &children), "GetHierarchyTable");
  openNamed(mapi, children.Get(), folderName, [&](ULONG size, ENTRYID* entryId) {
    ComPtr<IUnknown> folder;
    require(open.store->OpenEntry(size, entryId, nullptr, MAPI_MODIFY, &type, &folder), "OpenEntry");
    *open.folder.ReleaseAndGetAddressOf() = static_cast<IMAPIFolder*>(folder.Detach());
  });
  require(open.folder ? S_OK : MAPI_E_NOT_FOUND, "the folder");
  return open;
}

}  // namespace fendrel::bench
