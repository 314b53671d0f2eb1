// The thirteen functions of MAPI that the double has.
#include <fmt/format.h>
#include <mapiutil.h>
#include <mapix.h>
#include <windows.h>

#include "buffers.h"
#include "container_objects.h"

using namespace recording;

namespace {

// A string argument of MAPILogonEx, 8-bit or wide by a flag.
struct LogonText {
  LogonText(const void* text, bool isWide)
      : given(text != nullptr),
        value(!text    ? std::wstring()
              : isWide ? static_cast<const wchar_t*>(text)
                       : wide(static_cast<const char*>(text))) {}
  std::string describe() const { return given ? quoted(value.c_str()) : "null"; }

  bool given;
  std::wstring value;
};

HRESULT logOn(const LogonText& profileName, const LogonText& password, FLAGS flags, LPMAPISESSION* session) {
  if (recorder().initialised <= 0) return MAPI_E_NOT_INITIALIZED;
  const Profile* profile = nullptr;
  if (profileName.given)
    profile = world().findProfile(profileName.value);
  else if ((flags & MAPI_LOGON_UI) != 0 && !world().profiles().empty())
    profile = &world().profiles().front();  // as a user would choose it
  if (!profile) return MAPI_E_LOGON_FAILED;
  if (profile->password && profileName.given && (!password.given || password.value != *profile->password))
    return MAPI_E_LOGON_FAILED;
  *session = objects().make<SessionObject>(profile->name);
  return S_OK;
}

}  // namespace

extern "C" {

HRESULT WINAPI MAPIInitialize(LPVOID record) {
  return recorder().perform("MAPIInitialize", "", std::string("record=") + (record ? "given" : "null"),
                            []() -> HRESULT {
                              ++recorder().initialised;
                              return S_OK;
                            });
}

void WINAPI MAPIUninitialize(void) {
  recorder().note("MAPIUninitialize", "", "", RECORDED_CALL);
  --recorder().initialised;
}

HRESULT WINAPI MAPILogonEx(ULONG_PTR window, LPTSTR profileName, LPTSTR password, FLAGS flags, LPMAPISESSION* session) {
  const bool isWide = (flags & MAPI_UNICODE) != 0;
  const LogonText profile(profileName, isWide);
  const LogonText secret(password, isWide);
  return recorder().perform("MAPILogonEx", "",
                            fmt::format("window={:#x} profile={} password={} flags={:#x}", window, profile.describe(),
                                        secret.describe(), static_cast<unsigned long>(flags)),
                            [&] { return logOn(profile, secret, flags, session); }, {.object = asObject(session)});
}

SCODE WINAPI MAPIAllocateBuffer(ULONG size, LPVOID* block) {
  return recorder().perform(
      "MAPIAllocateBuffer", "", "bytes=" + std::to_string(size),
      [&]() -> HRESULT {
        *block = buffers().allocate(size, "MAPIAllocateBuffer");
        return S_OK;
      },
      {.block = block}, RECORDED_MEMORY);
}

SCODE WINAPI MAPIAllocateMore(ULONG size, LPVOID top, LPVOID* block) {
  return recorder().perform(
      "MAPIAllocateMore", "", "bytes=" + std::to_string(size),
      [&]() -> HRESULT {
        *block = buffers().allocateMore(size, top);
        return *block ? S_OK : MAPI_E_INVALID_PARAMETER;
      },
      {}, RECORDED_MEMORY);
}

ULONG WINAPI MAPIFreeBuffer(LPVOID block) {
  recorder().note("MAPIFreeBuffer", "", block ? "block" : "null", RECORDED_MEMORY);
  if (!block) return 0;
  return buffers().free(block) ? 0 : static_cast<ULONG>(MAPI_E_INVALID_PARAMETER);
}

void WINAPI FreeProws(LPSRowSet rows) {
  recorder().note("FreeProws", "", rows ? "rows" : "null", RECORDED_MEMORY);
  if (!rows) return;
  for (ULONG row = 0; row < rows->cRows; ++row)
    if (rows->aRow[row].lpProps) buffers().free(rows->aRow[row].lpProps);
  buffers().free(rows);
}

HRESULT WINAPI HrGetOneProp(LPMAPIPROP object, ULONG tag, LPSPropValue* value) {
  return recorder().perform("HrGetOneProp", "", "property=" + propertyName(tag),
                            [&]() -> HRESULT {
                              SizedSPropTagArray(1, tags) = {1, {tag}};
                              ULONG count = 0;
                              SPropValue* found = nullptr;
                              const HRESULT result =
                                  object->GetProps(reinterpret_cast<SPropTagArray*>(&tags), 0, &count, &found);
                              if (FAILED(result)) return result;
                              if (PROP_TYPE(found->ulPropTag) == PT_ERROR) {
                                const HRESULT missing = found->Value.err;
                                buffers().free(found);
                                return missing;
                              }
                              *value = found;
                              return S_OK;
                            },
                            {.values = value});
}

HRESULT WINAPI HrQueryAllRows(LPMAPITABLE table, LPSPropTagArray columns, LPSRestriction restriction,
                              LPSSortOrderSet sortOrder, LONG limit, LPSRowSet* rows) {
  return recorder().perform("HrQueryAllRows", "", "columns=" + columnNames(columns) + " limit=" + std::to_string(limit),
                            [&]() -> HRESULT {
                              if (sortOrder) return MAPI_E_TOO_COMPLEX;
                              if (columns)
                                if (const HRESULT result = table->SetColumns(columns, 0); FAILED(result)) return result;
                              if (const HRESULT result = table->Restrict(restriction, 0); FAILED(result)) return result;
                              if (const HRESULT result = table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr); FAILED(result))
                                return result;
                              return table->QueryRows(limit > 0 ? limit : MAXLONG, 0, rows);
                            });
}

HRESULT WINAPI MAPIOpenFormMgr(LPMAPISESSION, void**) {
  return recorder().perform("MAPIOpenFormMgr", "", "", [] { return MAPI_E_NO_SUPPORT; });
}

HRESULT WINAPI MAPIAdminProfiles(ULONG flags, LPPROFADMIN*) {
  return recorder().perform("MAPIAdminProfiles", "", "flags=" + hex(flags), [] { return MAPI_E_NO_SUPPORT; });
}

FILETIME WINAPI FtMulDwDw(DWORD left, DWORD right) {
  const unsigned long long product = static_cast<unsigned long long>(left) * right;
  return {static_cast<DWORD>(product), static_cast<DWORD>(product >> 32)};
}

FILETIME WINAPI FtNegFt(FILETIME time) {
  const unsigned long long negated =
      0 - (static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
  return {static_cast<DWORD>(negated), static_cast<DWORD>(negated >> 32)};
}

}  // extern "C"
