// IMsgStore.
#pragma once

#include "mapi_object.h"
#include "session_context.h"

namespace fendrel::provider {

class MessageStore final : public MapiObject<IMsgStore> {
 public:
  explicit MessageStore(ScopePointer scope) : MapiObject(homeOf(scope->session)), scope_(std::move(scope)) {}

  STDMETHODIMP Advise(ULONG size, LPENTRYID entryId, ULONG events, LPMAPIADVISESINK sink,
                      UlongPtr* connection) override;
  STDMETHODIMP Unadvise(UlongPtr connection) override;
  STDMETHODIMP CompareEntryIDs(ULONG size1, LPENTRYID entryId1, ULONG size2, LPENTRYID entryId2, ULONG flags,
                               ULONG* equal) override;
  STDMETHODIMP OpenEntry(ULONG size, LPENTRYID entryId, LPCIID iid, ULONG flags, ULONG* objectType,
                         LPUNKNOWN* object) override;
  STDMETHODIMP SetReceiveFolder(LPTSTR messageClass, ULONG flags, ULONG size, LPENTRYID entryId) override;
  STDMETHODIMP GetReceiveFolder(LPTSTR messageClass, ULONG flags, ULONG* size, LPENTRYID* entryId,
                                LPTSTR* explicitClass) override;
  STDMETHODIMP GetReceiveFolderTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP StoreLogoff(ULONG* flags) override;
  STDMETHODIMP AbortSubmit(ULONG size, LPENTRYID entryId, ULONG flags) override;
  STDMETHODIMP GetOutgoingQueue(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP SetLockState(LPMESSAGE message, ULONG state) override;
  STDMETHODIMP FinishedMsg(ULONG flags, ULONG size, LPENTRYID entryId) override;
  STDMETHODIMP NotifyNewMail(LPNOTIFICATION notification) override;

 private:
  HRESULT readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) override;
  HRESULT readAllProperties(std::vector<Property>& found) override;
  HRESULT checkWritable() const override { return scope_->writable ? S_OK : MAPI_E_NO_ACCESS; }
  HRESULT checkProperty(PropertyTag tag) const override;
  HRESULT changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) override;
  HRESULT openProperty(ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) override;

  ScopePointer scope_;
};

// The computed properties of a store, also for its row in a message stores table.
std::vector<Property> computedStoreProperties(const StoreScope& scope);

}  // namespace fendrel::provider
