// The exported functions for sessions and MAPI's memory; the others are in store/utility. Each checks its arguments and
// enters the guard.
#include <atomic>

#include "database_profiles.h"
#include "logon.h"
#include "mapi_interfaces.h"
#include "profile_admin.h"
#include "status_codes.h"

using namespace fendrel::provider;

namespace {

// MAPI_NO_COINIT; missing from some versions of the headers.
constexpr ULONG noComInitialization = 0x00000008;

// Calls of MAPIInitialize minus MAPIUninitialize; logon requires at least one.
std::atomic<long> initializations;

// How often this thread has initialized COM; only it can uninitialize it.
thread_local long comInitializations;

HRESULT checkInitialization(const MAPIINIT_0* wish) {
  constexpr ULONG known = MAPI_MULTITHREAD_NOTIFICATIONS | MAPI_NT_SERVICE | noComInitialization;
  if (!wish) return S_OK;
  if (wish->ulVersion != MAPI_INIT_VERSION) return MAPI_E_INVALID_PARAMETER;
  return wish->ulFlags & ~known ? MAPI_E_UNKNOWN_FLAGS : S_OK;
}

}  // namespace

extern "C" {

HRESULT WINAPI MAPIInitialize(LPVOID given) {
  const auto* wish = static_cast<const MAPIINIT_0*>(given);
  if (const HRESULT result = checkInitialization(wish); FAILED(result)) return result;
  if (!wish || !(wish->ulFlags & noComInitialization)) {
    const HRESULT result = CoInitialize(nullptr);
    if (SUCCEEDED(result))
      ++comInitializations;
    else if (result != RPC_E_CHANGED_MODE)
      return result;  // in another mode, but initialized
  }
  ++initializations;
  return S_OK;
}

void WINAPI MAPIUninitialize() {
  long count = initializations;
  while (count > 0 && !initializations.compare_exchange_weak(count, count - 1)) {
  }
  if (count > 0 && comInitializations > 0) {
    --comInitializations;
    CoUninitialize();
  }
}

HRESULT WINAPI MAPILogonEx(ULONG_PTR window, LPTSTR profile, LPTSTR password, ULONG flags, LPMAPISESSION* session) {
  if (!session) return MAPI_E_INVALID_PARAMETER;
  *session = nullptr;
  if (initializations <= 0) return MAPI_E_NOT_INITIALIZED;
  return guarded([&] { return logon(window, profile, password, flags, session); });
}

SCODE WINAPI MAPIAllocateBuffer(ULONG size, LPVOID* block) {
  if (!block) return MAPI_E_INVALID_PARAMETER;
  *block = nullptr;
  return guarded([&] {
    *block = allocateTop(size);
    return S_OK;
  });
}

SCODE WINAPI MAPIAllocateMore(ULONG size, LPVOID top, LPVOID* block) {
  if (!block || !top) return MAPI_E_INVALID_PARAMETER;
  *block = nullptr;
  return guarded([&] { return allocateBelow(top, size, *block); });
}

ULONG WINAPI MAPIFreeBuffer(LPVOID block) { return freeChain(block) ? S_OK : MAPI_E_INVALID_PARAMETER; }

HRESULT WINAPI MAPIOpenFormMgr(LPMAPISESSION, void** manager) {
  if (manager) *manager = nullptr;
  return MAPI_E_NO_SUPPORT;
}

HRESULT WINAPI MAPIAdminProfiles(ULONG, LPPROFADMIN* admin) {
  if (!admin) return MAPI_E_INVALID_PARAMETER;
  *admin = nullptr;
  if (initializations <= 0) return MAPI_E_NOT_INITIALIZED;
  return guarded([&] {
    std::shared_ptr<fendrel::store::ProfileBook> profiles;
    const auto status = fendrel::store::openProfileBook(profiles);
    if (status != fendrel::store::Status::Ok) return toResult(status);
    auto opened = makeObject<ProfileAdmin>(std::move(profiles));
    return handOut(opened, admin);
  });
}

}  // extern "C"
