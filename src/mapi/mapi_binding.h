// MAPI32.DLL, loaded at run time: the thirteen entry points that the plug-in binds, in one table.
// Threads: one; the table is process-wide and not guarded. Nothing calls it while it is unbound.
#pragma once

#include <windows.h>

#include <mapiutil.h>
#include <mapix.h>

namespace fendrel {

struct MapiBinding {
  HMODULE module;  // null when not loaded
  DWORD bound;     // 1 once all entry points are resolved
  // In the order in which they are resolved.
  LPMAPIINITIALIZE mapiInitialize;
  LPMAPIUNINITIALIZE mapiUninitialize;
  LPMAPILOGONEX mapiLogonEx;
  LPMAPIALLOCATEBUFFER mapiAllocateBuffer;
  LPMAPIALLOCATEMORE mapiAllocateMore;
  LPMAPIFREEBUFFER mapiFreeBuffer;
  FARPROC mapiOpenFormMgr;    // kept for completeness, not called
  FARPROC mapiAdminProfiles;  // likewise
  decltype(&::FreeProws) freeProws;
  decltype(&::HrGetOneProp) hrGetOneProp;
  decltype(&::HrQueryAllRows) hrQueryAllRows;
  decltype(&::FtMulDwDw) ftMulDwDw;
  decltype(&::FtNegFt) ftNegFt;
};

// The one binding.
const MapiBinding& mapi() noexcept;

bool LoadMapiLibrary() noexcept;
void UnloadMapiLibrary() noexcept;

// Looks `name` up in the loaded library; true if it exists.
bool GetMapiProc(const char* name, FARPROC& proc) noexcept;

// Resolves all entry points in order and stops at the first missing one.
bool BindMapiFunctions() noexcept;
void ClearMapiFunctions() noexcept;

// Loads and binds; on failure nothing remains loaded or set.
bool BindMapi() noexcept;
void UnbindMapi() noexcept;
bool IsMapiBound() noexcept;

// Thin pass-throughs.
HRESULT MapiLogon(ULONG_PTR uiParam, LPWSTR profileName, LPWSTR password, FLAGS flags, IMAPISession** session) noexcept;
int MapiStart() noexcept;  // MAPIInitialize without a record: 0, or -1 on failure
int MapiStop() noexcept;   // MAPIUninitialize: 0

}  // namespace fendrel
