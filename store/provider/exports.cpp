// The exported functions: each checks its arguments and enters the guard.
#include <atomic>

#include "com_object.h"
#include "logon.h"
#include "mapi_memory.h"
#include "mapi_utility.h"
#include "profile_admin.h"
#include "store_file.h"

using namespace fendrel::provider;

namespace {

// MAPIInitialize less MAPIUninitialize; logging on needs one.
std::atomic<long> initializations;

}  // namespace

extern "C" {

HRESULT WINAPI MAPIInitialize(LPVOID) {
  ++initializations;
  return S_OK;
}

void WINAPI MAPIUninitialize() {
  long count = initializations;
  while (count > 0 && !initializations.compare_exchange_weak(count, count - 1)) {
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
    std::shared_ptr<fendrel::store::Database> database;
    if (const HRESULT result = openStoreFile(database); FAILED(result)) return result;
    auto opened = makeObject<ProfileAdmin>(std::move(database));
    return handOut(opened, admin);
  });
}

void WINAPI FreeProws(LPSRowSet rows) { freeRows(rows); }

HRESULT WINAPI HrGetOneProp(LPMAPIPROP object, ULONG tag, LPSPropValue* value) {
  if (!object || !value) return MAPI_E_INVALID_PARAMETER;
  *value = nullptr;
  return guarded([&] {
    MapiBuffer<SPropValue> found;
    const HRESULT result = readOne(*object, tag, found);
    *value = found.release();
    return result;
  });
}

HRESULT WINAPI HrQueryAllRows(LPMAPITABLE table, LPSPropTagArray columns, LPSRestriction restriction,
                              LPSSortOrderSet order, LONG mostRows, LPSRowSet* rows) {
  if (!table || !rows) return MAPI_E_INVALID_PARAMETER;
  *rows = nullptr;
  return guarded([&] {
    MapiRows found;
    const HRESULT result = readAllRows(*table, columns, restriction, order, mostRows, found);
    *rows = found.release();
    return result;
  });
}

FILETIME WINAPI FtMulDwDw(DWORD left, DWORD right) {
  const ULONGLONG product = static_cast<ULONGLONG>(left) * right;
  return {static_cast<DWORD>(product), static_cast<DWORD>(product >> 32)};
}

FILETIME WINAPI FtNegFt(FILETIME time) {
  const ULONGLONG ticks = static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  const ULONGLONG negated = 0 - ticks;
  return {static_cast<DWORD>(negated), static_cast<DWORD>(negated >> 32)};
}

}  // extern "C"
