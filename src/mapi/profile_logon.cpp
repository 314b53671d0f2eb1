#include "profile_logon.h"

#include <new>

#include "mapi_row.h"
#include "mapi_table.h"
#include "text_conversion.h"

namespace fendrel {
namespace {

// The profile's name in the status table: the first row of the MAPI subsystem that has one.
HRESULT findProfileName(CMAPITable& status, std::optional<std::wstring>& profileName) {
  enum { resourceType, displayName };
  static constexpr auto columns = propertyTags(PR_RESOURCE_TYPE, PR_DISPLAY_NAME_A);
  if (!status.Prepare(columns.array())) return status.lastResult;
  while (const SRow* const row = status.NextRow()) {
    const SPropValue* const type = valueAt(*row, resourceType, PR_RESOURCE_TYPE);
    if (!type || type->Value.l != MAPI_SUBSYSTEM || !valueAt(*row, displayName, PR_DISPLAY_NAME_A)) continue;
    profileName = wideFromAnsi(textAt(*row, displayName, PR_DISPLAY_NAME_A));
    return profileName ? S_OK : E_OUTOFMEMORY;
  }
  return FAILED(status.lastResult) ? status.lastResult : MAPI_E_NOT_FOUND;
}

HRESULT readIdentity(IMAPISession* session, BinaryView entryId, SenderIdentity& sender) {
  ULONG objectType = 0;
  ComPtr<IUnknown> object;
  HRESULT result = session->OpenEntry(sizeArgument(entryId), entryIdArgument(entryId), nullptr, MAPI_BEST_ACCESS,
                                      &objectType, &object);
  if (result = checkReceived(result, object); FAILED(result)) return result;

  enum { displayName, searchKey };
  static constexpr auto tags = propertyTags(PR_DISPLAY_NAME_A, PR_SEARCH_KEY);
  ObjectProperties user;
  // Without a requested interface the entry opens as its own type: a mail user, which is an IMAPIProp.
  if (result = user.read(static_cast<IMAPIProp*>(object.Get()), tags.argument()); FAILED(result)) return result;
  const SRow& properties = user.row();

  if (entryId.empty()) return E_OUTOFMEMORY;
  sender.senderEntryId.assign(entryId.begin(), entryId.end());
  if (valueAt(properties, displayName, PR_DISPLAY_NAME_A)) {
    sender.senderName = wideFromAnsi(textAt(properties, displayName, PR_DISPLAY_NAME_A));
    if (!sender.senderName) return E_OUTOFMEMORY;
  }
  if (valueAt(properties, searchKey, PR_SEARCH_KEY)) {
    const BinaryView key = binaryAt(properties, searchKey, PR_SEARCH_KEY);
    if (key.empty()) return E_OUTOFMEMORY;
    sender.senderSearchKey.assign(key.begin(), key.end());
  }
  return S_OK;
}

}  // namespace

HRESULT openSession(const wchar_t* profileName, const wchar_t* password, bool silent,
                    ComPtr<IMAPISession>& session) noexcept {
  // Every window handle fits into 32 bits.
  const auto window = static_cast<ULONG>(reinterpret_cast<ULONG_PTR>(GetActiveWindow()));
  const HRESULT result = MapiLogon(window, const_cast<wchar_t*>(profileName), const_cast<wchar_t*>(password),
                                   logonFlags(silent), session.ReleaseAndGetAddressOf());
  return checkReceived(result, session);
}

HRESULT GetSessionProfileName(IMAPISession* session, std::optional<std::wstring>& profileName,
                              SenderIdentity& sender) noexcept {
  try {
    CMAPITable status;
    if (!status.OpenStatusTable(session) || status.rowCount == 0) return status.lastResult;
    const HRESULT result = findProfileName(status, profileName);
    if (FAILED(result)) return result;
    QuerySessionIdentity(session, sender);  // posting works without an identity
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT QuerySessionIdentity(IMAPISession* session, SenderIdentity& sender) noexcept {
  ULONG size = 0;
  MapiBuffer<ENTRYID> entryId;
  HRESULT result = session->QueryIdentity(&size, receive(entryId));
  if (FAILED(result)) return result;
  try {
    result = readIdentity(session, binaryOf(entryId.get(), size), sender);
  } catch (const std::bad_alloc&) {
    result = E_OUTOFMEMORY;
  }
  if (FAILED(result)) sender = {};
  return result;
}

void closeSession(ComPtr<IMAPISession>& session) noexcept {
  if (!session) return;
  session->Logoff(0, 0, 0);
  session.Reset();
}

std::uint32_t ReleaseSession(const LogonJob& job) noexcept {
  closeSession(job.session);
  job.profileName.reset();
  job.sender = {};
  return 0;
}

std::uint32_t Logon(const LogonJob& job, const wchar_t* profileName, const wchar_t* profilePassword) noexcept {
  ReleaseSession(job);
  HRESULT result = openSession(profileName, profilePassword, job.optionsSupplied, job.session);
  if (FAILED(result)) return job.failure.noLogon(result);
  result = GetSessionProfileName(job.session.Get(), job.profileName, job.sender);
  return FAILED(result) ? job.failure.noProfileName(result) : 0;
}

}  // namespace fendrel
