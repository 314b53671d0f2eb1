#include "mapi_binding.h"

#include "charset.h"

namespace fendrel {
namespace {

MapiBinding g_mapi;

// Stores the entry point `name` in `function`; false if the library lacks it.
template <class Function>
bool resolve(const char* name, Function& function) noexcept {
  FARPROC proc = nullptr;
  if (!GetMapiProc(name, proc)) return false;
  function = reinterpret_cast<Function>(proc);
  return true;
}

}  // namespace

const MapiBinding& mapi() noexcept { return g_mapi; }

bool LoadMapiLibrary() noexcept {
  g_mapi.module = charset::loadLibrary(L"MAPI32.DLL");
  return g_mapi.module != nullptr;
}

void UnloadMapiLibrary() noexcept {
  if (g_mapi.module) FreeLibrary(g_mapi.module);
  g_mapi.module = nullptr;
}

bool GetMapiProc(const char* name, FARPROC& proc) noexcept {
  proc = GetProcAddress(g_mapi.module, name);
  return proc != nullptr;
}

bool BindMapiFunctions() noexcept {
  return g_mapi.module && resolve("MAPIInitialize", g_mapi.mapiInitialize) &&
         resolve("MAPIUninitialize", g_mapi.mapiUninitialize) && resolve("MAPILogonEx", g_mapi.mapiLogonEx) &&
         resolve("MAPIAllocateBuffer", g_mapi.mapiAllocateBuffer) &&
         resolve("MAPIAllocateMore", g_mapi.mapiAllocateMore) && resolve("MAPIFreeBuffer", g_mapi.mapiFreeBuffer) &&
         resolve("MAPIOpenFormMgr", g_mapi.mapiOpenFormMgr) && resolve("MAPIAdminProfiles", g_mapi.mapiAdminProfiles) &&
         resolve("FreeProws", g_mapi.freeProws) && resolve("HrGetOneProp", g_mapi.hrGetOneProp) &&
         resolve("HrQueryAllRows", g_mapi.hrQueryAllRows) && resolve("FtMulDwDw", g_mapi.ftMulDwDw) &&
         resolve("FtNegFt", g_mapi.ftNegFt);
}

void ClearMapiFunctions() noexcept { g_mapi = MapiBinding{.module = g_mapi.module, .bound = g_mapi.bound}; }

bool BindMapi() noexcept {
  if (LoadMapiLibrary() && BindMapiFunctions()) {
    g_mapi.bound = 1;
    return true;
  }
  UnbindMapi();
  return false;
}

void UnbindMapi() noexcept {
  ClearMapiFunctions();
  UnloadMapiLibrary();
  g_mapi.bound = 0;
}

bool IsMapiBound() noexcept { return g_mapi.bound != 0; }

HRESULT MapiLogon(ULONG_PTR uiParam, LPWSTR profileName, LPWSTR password, FLAGS flags,
                  IMAPISession** session) noexcept {
  return g_mapi.mapiLogonEx(uiParam, profileName, password, flags, session);
}

int MapiStart() noexcept { return FAILED(g_mapi.mapiInitialize(nullptr)) ? -1 : 0; }

int MapiStop() noexcept {
  g_mapi.mapiUninitialize();
  return 0;
}

}  // namespace fendrel
