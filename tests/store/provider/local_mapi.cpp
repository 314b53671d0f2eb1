// The interface identifiers are defined here for all tests.
#define INITGUID
#include <initguid.h>
#include <windows.h>
#define USES_IID_IMAPISession
#define USES_IID_IMAPITable
#define USES_IID_IProfAdmin
#define USES_IID_IMsgServiceAdmin
#define USES_IID_IMAPIProp
#define USES_IID_IProfSect
#define USES_IID_IMsgStore
#define USES_IID_IMessage
#define USES_IID_IAttachment
#define USES_IID_IMailUser
#define USES_IID_IMAPIContainer
#define USES_IID_IMAPIFolder
#define USES_IID_IABContainer
#define USES_MUID_PROFILE_INSTANCE
#include "local_mapi.h"

#include <cstdio>
#include <cstdlib>

#include "build_paths.h"

namespace {

template <class Function>
void resolve(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(GetProcAddress(module, name));
  if (function) return;
  std::fprintf(stderr, "MAPI32.DLL does not export %s\n", name);
  std::exit(1);
}

LocalMapi load() {
  // The same tests run on the library with a guarded heap in it.
  wchar_t chosen[MAX_PATH] = L"bin/store/MAPI32.DLL";
  GetEnvironmentVariableW(L"FENDREL_TEST_STORE_LIBRARY", chosen, MAX_PATH);
  const std::wstring path = buildFile(chosen);
  LocalMapi loaded{};
  loaded.module = LoadLibraryW(path.c_str());
  wchar_t name[32768] = {};
  GetModuleFileNameW(loaded.module, name, 32768);
  // Some system's own library must not be tested by mistake.
  if (!loaded.module || _wcsicmp(name, path.c_str()) != 0) {
    std::fprintf(stderr, "%ls was not loaded, but \"%ls\" (error %lu)\n", path.c_str(), name, GetLastError());
    std::exit(1);
  }
  resolve(loaded.module, "MAPIInitialize", loaded.initialize);
  resolve(loaded.module, "MAPIUninitialize", loaded.uninitialize);
  resolve(loaded.module, "MAPILogonEx", loaded.logonEx);
  resolve(loaded.module, "MAPIAllocateBuffer", loaded.allocateBuffer);
  resolve(loaded.module, "MAPIAllocateMore", loaded.allocateMore);
  resolve(loaded.module, "MAPIFreeBuffer", loaded.freeBuffer);
  resolve(loaded.module, "MAPIOpenFormMgr", loaded.openFormMgr);
  resolve(loaded.module, "MAPIAdminProfiles", loaded.adminProfiles);
  resolve(loaded.module, "FreeProws", loaded.freeProws);
  resolve(loaded.module, "HrGetOneProp", loaded.hrGetOneProp);
  resolve(loaded.module, "HrQueryAllRows", loaded.hrQueryAllRows);
  resolve(loaded.module, "FtMulDwDw", loaded.ftMulDwDw);
  resolve(loaded.module, "FtNegFt", loaded.ftNegFt);
  return loaded;
}

}  // namespace

const LocalMapi& mapi() {
  static const LocalMapi loaded = load();
  return loaded;
}
