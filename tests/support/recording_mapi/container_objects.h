// IMAPISession, IMsgStore, IMAPIFolder and the logged-on user.
#pragma once

#include "object.h"
#include "world_model.h"

namespace recording {

class SessionObject final : public RefusingSession {
 public:
  explicit SessionObject(std::wstring profileName);

  STDMETHODIMP GetMsgStoresTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP OpenMsgStore(ULONG_PTR window, ULONG size, LPENTRYID entryId, LPCIID interfaceId, ULONG flags,
                            LPMDB* store) override;
  STDMETHODIMP GetStatusTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP OpenEntry(ULONG size, LPENTRYID entryId, LPCIID interfaceId, ULONG flags, ULONG* objectType,
                         LPUNKNOWN* object) override;
  STDMETHODIMP QueryIdentity(ULONG* size, LPENTRYID* entryId) override;
  STDMETHODIMP Logoff(ULONG_PTR window, ULONG flags, ULONG reserved) override;

 protected:
  void lastReferenceGone() override;

 private:
  std::wstring profileName_;
  bool loggedOn_ = true;
};

class StoreObject final : public RefusingStore {
 public:
  explicit StoreObject(Store& store);

  STDMETHODIMP GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) override;
  STDMETHODIMP OpenEntry(ULONG size, LPENTRYID entryId, LPCIID interfaceId, ULONG flags, ULONG* objectType,
                         LPUNKNOWN* object) override;

 private:
  Store& store_;
};

class FolderObject final : public RefusingFolder {
 public:
  explicit FolderObject(Folder& folder);

  STDMETHODIMP GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) override;
  STDMETHODIMP GetContentsTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP GetHierarchyTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP OpenEntry(ULONG size, LPENTRYID entryId, LPCIID interfaceId, ULONG flags, ULONG* objectType,
                         LPUNKNOWN* object) override;
  STDMETHODIMP CreateMessage(LPCIID interfaceId, ULONG flags, LPMESSAGE* message) override;

 private:
  Folder& folder_;
};

class UserObject final : public RefusingProp {
 public:
  UserObject();

  STDMETHODIMP GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) override;
};

}  // namespace recording
