// A program that knows nothing but "MAPI32.DLL": it logs on to the profile of its argument and prints one line for each
// message store. Exit code 3: MAPI did not start.
#include <windows.h>

#include <mapiutil.h>
#include <mapix.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

template <class Function>
Function* bound(const char* name) {
  static const HMODULE mapi = LoadLibraryW(L"MAPI32.DLL");
  auto* function = reinterpret_cast<Function*>(mapi ? GetProcAddress(mapi, name) : nullptr);
  if (!function) std::exit(2);
  return function;
}

void require(HRESULT result, const char* step) {
  if (SUCCEEDED(result)) return;
  std::fprintf(stderr, "%s: 0x%08lX\n", step, static_cast<unsigned long>(result));
  std::exit(1);
}

}  // namespace

#define BOUND(function) bound<decltype(function)>(#function)

int main(int count, char** arguments) {
  if (count != 2) return 2;
  if (FAILED(BOUND(MAPIInitialize)(nullptr))) return 3;
  LPMAPISESSION session = nullptr;
  require(BOUND(MAPILogonEx)(0, reinterpret_cast<LPTSTR>(arguments[1]), nullptr, MAPI_EXTENDED | MAPI_NEW_SESSION,
                             &session),
          "MAPILogonEx");
  LPMAPITABLE table = nullptr;
  require(session->GetMsgStoresTable(0, &table), "GetMsgStoresTable");
  SPropTagArray columns{1, {PR_DISPLAY_NAME_A}};
  LPSRowSet rows = nullptr;
  require(BOUND(HrQueryAllRows)(table, &columns, nullptr, nullptr, 0, &rows), "HrQueryAllRows");
  for (ULONG row = 0; row < rows->cRows; ++row) std::printf("%s\n", rows->aRow[row].lpProps[0].Value.lpszA);
  BOUND(FreeProws)(rows);
  table->Release();
  require(session->Logoff(0, 0, 0), "Logoff");
  session->Release();
  BOUND(MAPIUninitialize)();
  return 0;
}
