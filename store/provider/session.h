// IMAPISession.
#pragma once

#include "mapi_interfaces.h"
#include "session_context.h"

namespace fendrel::provider {

// A logon that others may share (MAPI_ALLOW_OTHERS). It lasts until all its sessions have logged off.
struct SharedLogon {
  SessionPointer context;
};

// After Logoff the session returns MAPI_E_END_OF_SESSION; its objects remain valid until they are released.
class Session final : public ComObject<IMAPISession> {
 public:
  // With `shared` it is one of the sessions of the shared logon.
  explicit Session(SessionPointer context, std::shared_ptr<SharedLogon> shared = {})
      : context_(std::move(context)), shared_(std::move(shared)) {}

  STDMETHODIMP GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override;
  STDMETHODIMP GetMsgStoresTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP OpenMsgStore(ULONG_PTR window, ULONG size, LPENTRYID entryId, LPCIID iid, ULONG flags,
                            LPMDB* store) override;
  STDMETHODIMP OpenAddressBook(ULONG_PTR window, LPCIID iid, ULONG flags, LPADRBOOK* book) override;
  STDMETHODIMP OpenProfileSection(LPMAPIUID uid, LPCIID iid, ULONG flags, LPPROFSECT* section) override;
  STDMETHODIMP GetStatusTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP OpenEntry(ULONG size, LPENTRYID entryId, LPCIID iid, ULONG flags, ULONG* objectType,
                         LPUNKNOWN* object) override;
  STDMETHODIMP CompareEntryIDs(ULONG size1, LPENTRYID entryId1, ULONG size2, LPENTRYID entryId2, ULONG flags,
                               ULONG* equal) override;
  STDMETHODIMP Advise(ULONG size, LPENTRYID entryId, ULONG events, LPMAPIADVISESINK sink,
                      UlongPtr* connection) override;
  STDMETHODIMP Unadvise(UlongPtr connection) override;
  STDMETHODIMP MessageOptions(ULONG_PTR window, ULONG flags, LPTSTR addressType, LPMESSAGE message) override;
  STDMETHODIMP QueryDefaultMessageOpt(LPTSTR addressType, ULONG flags, ULONG* count, LPSPropValue* options) override;
  STDMETHODIMP EnumAdrTypes(ULONG flags, ULONG* count, LPTSTR** types) override;
  STDMETHODIMP QueryIdentity(ULONG* size, LPENTRYID* entryId) override;
  STDMETHODIMP Logoff(ULONG_PTR window, ULONG flags, ULONG reserved) override;
  STDMETHODIMP SetDefaultStore(ULONG flags, ULONG size, LPENTRYID entryId) override;
  STDMETHODIMP AdminServices(ULONG flags, LPSERVICEADMIN* admin) override;
  STDMETHODIMP ShowForm(ULONG_PTR window, LPMDB store, LPMAPIFOLDER folder, LPCIID iid, UlongPtr token, LPMESSAGE sent,
                        ULONG flags, ULONG status, ULONG messageFlags, ULONG access, LPSTR messageClass) override;
  STDMETHODIMP PrepareForm(LPCIID iid, LPMESSAGE message, UlongPtr* token) override;

 private:
  // Runs a call while the session is logged on.
  template <class Call>
  HRESULT loggedOn(Call&& call) noexcept {
    return guarded(context_->mutex, [&]() -> HRESULT { return isLoggedOn_ ? call() : MAPI_E_END_OF_SESSION; });
  }

  SessionPointer context_;
  std::shared_ptr<SharedLogon> shared_;
  bool isLoggedOn_ = true;
};

}  // namespace fendrel::provider
