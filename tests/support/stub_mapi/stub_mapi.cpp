// A MAPI32.DLL like the documented stub library: it forwards to the library that the registry names as DLLPathEx under
// Clients\Mail, the user's before the machine's.
#include <windows.h>

#include <mapiutil.h>
#include <mapix.h>

#include <string>

namespace {

std::wstring textOf(HKEY root, const std::wstring& key, const wchar_t* name) {
  wchar_t text[32768];
  DWORD size = sizeof text;
  return RegGetValueW(root, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) == ERROR_SUCCESS ? text : L"";
}

HMODULE loadClient() {
  const std::wstring clients = L"Software\\Clients\\Mail";
  for (HKEY chooser : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
    const std::wstring client = textOf(chooser, clients, nullptr);
    if (client.empty()) continue;
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
      const std::wstring library = textOf(root, clients + L"\\" + client, L"DLLPathEx");
      if (!library.empty()) return LoadLibraryW(library.c_str());
    }
    return nullptr;
  }
  return nullptr;
}

template <class Function>
Function* real(const char* name) {
  static const HMODULE client = loadClient();
  return reinterpret_cast<Function*>(client ? GetProcAddress(client, name) : nullptr);
}

}  // namespace

#define REAL(function) real<decltype(function)>(#function)

extern "C" {

HRESULT WINAPI MAPIInitialize(LPVOID options) {
  auto* function = REAL(MAPIInitialize);
  return function ? function(options) : MAPI_E_NOT_FOUND;  // there is no mail program
}
void WINAPI MAPIUninitialize() { REAL(MAPIUninitialize)(); }
HRESULT WINAPI MAPILogonEx(ULONG_PTR window, LPTSTR profile, LPTSTR password, ULONG flags, LPMAPISESSION* session) {
  return REAL(MAPILogonEx)(window, profile, password, flags, session);
}
HRESULT WINAPI MAPIAdminProfiles(ULONG flags, LPPROFADMIN* admin) { return REAL(MAPIAdminProfiles)(flags, admin); }
SCODE WINAPI MAPIAllocateBuffer(ULONG size, LPVOID* block) { return REAL(MAPIAllocateBuffer)(size, block); }
SCODE WINAPI MAPIAllocateMore(ULONG size, LPVOID top, LPVOID* block) {
  return REAL(MAPIAllocateMore)(size, top, block);
}
ULONG WINAPI MAPIFreeBuffer(LPVOID block) { return REAL(MAPIFreeBuffer)(block); }
void WINAPI FreeProws(LPSRowSet rows) { REAL(FreeProws)(rows); }
HRESULT WINAPI HrQueryAllRows(LPMAPITABLE table, LPSPropTagArray columns, LPSRestriction restriction,
                              LPSSortOrderSet order, LONG most, LPSRowSet* rows) {
  return REAL(HrQueryAllRows)(table, columns, restriction, order, most, rows);
}

}  // extern "C"
