#include "contract_world.h"

#include <cstdio>
#include <cstdlib>

#include "build_paths.h"

namespace contract {
namespace {

template <class Function>
void lookUp(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  if (function) return;
  std::fprintf(stderr, "this MAPI32.DLL has no %s\n", name);
  std::exit(1);
}

}  // namespace

LocalMapi loadMapi(const wchar_t* path) {
  LocalMapi loaded{};
  loaded.module = LoadLibraryW(buildFile(path).c_str());
  if (!loaded.module) {
    std::fprintf(stderr, "MAPI32.DLL cannot be loaded\n");
    std::exit(1);
  }
  lookUp(loaded.module, "MAPIInitialize", loaded.initialize);
  lookUp(loaded.module, "MAPIUninitialize", loaded.uninitialize);
  lookUp(loaded.module, "MAPILogonEx", loaded.logonEx);
  lookUp(loaded.module, "MAPIAllocateBuffer", loaded.allocateBuffer);
  lookUp(loaded.module, "MAPIAllocateMore", loaded.allocateMore);
  lookUp(loaded.module, "MAPIFreeBuffer", loaded.freeBuffer);
  lookUp(loaded.module, "MAPIOpenFormMgr", loaded.openFormMgr);
  lookUp(loaded.module, "MAPIAdminProfiles", loaded.adminProfiles);
  lookUp(loaded.module, "FreeProws", loaded.freeProws);
  lookUp(loaded.module, "HrGetOneProp", loaded.hrGetOneProp);
  lookUp(loaded.module, "HrQueryAllRows", loaded.hrQueryAllRows);
  lookUp(loaded.module, "FtMulDwDw", loaded.ftMulDwDw);
  lookUp(loaded.module, "FtNegFt", loaded.ftNegFt);
  return loaded;
}

}  // namespace contract
