// IMsgServiceAdmin: access to a profile's section. Every profile has one service, which cannot be copied or removed;
// configuring it puts the profile on a mail server (server_profile.h).
#pragma once

#include <memory>
#include <string>

#include "mapi_interfaces.h"
#include "memory_rows.h"
#include "profile_book.h"

namespace fendrel::provider {

class ServiceAdmin final : public ComObject<IMsgServiceAdmin> {
 public:
  // `profileIsNew`: the same client has just created the profile.
  ServiceAdmin(std::shared_ptr<store::ProfileBook> profiles, std::u16string profile, bool profileIsNew)
      : profiles_(std::move(profiles)), profile_(std::move(profile)), profileIsNew_(profileIsNew) {}

  STDMETHODIMP GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override;
  STDMETHODIMP GetMsgServiceTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP CreateMsgService(LPTSTR service, LPTSTR name, ULONG_PTR window, ULONG flags) override;
  STDMETHODIMP DeleteMsgService(LPMAPIUID uid) override;
  STDMETHODIMP CopyMsgService(LPMAPIUID uid, LPTSTR name, LPCIID copyIid, LPCIID targetIid, LPVOID target,
                              ULONG_PTR window, ULONG flags) override;
  STDMETHODIMP RenameMsgService(LPMAPIUID uid, ULONG flags, LPTSTR name) override;
  STDMETHODIMP ConfigureMsgService(LPMAPIUID uid, ULONG_PTR window, ULONG flags, ULONG count,
                                   LPSPropValue values) override;
  STDMETHODIMP OpenProfileSection(LPMAPIUID uid, LPCIID iid, ULONG flags, LPPROFSECT* section) override;
  STDMETHODIMP MsgServiceTransportOrder(ULONG count, LPMAPIUID uids, ULONG flags) override;
  STDMETHODIMP AdminProviders(LPMAPIUID uid, ULONG flags, LPPROVIDERADMIN* admin) override;
  STDMETHODIMP SetPrimaryIdentity(LPMAPIUID uid, ULONG flags) override;
  STDMETHODIMP GetProviderTable(ULONG flags, LPMAPITABLE* table) override;

 private:
  HRESULT serviceUid(store::Bytes& uid) const;
  HRESULT changeServer(std::span<const SPropValue> values);
  HRESULT openTable(MemoryRows::Row row, ULONG flags, LPMAPITABLE* table) const;

  std::shared_ptr<store::ProfileBook> profiles_;
  std::u16string profile_;
  bool profileIsNew_;
};

}  // namespace fendrel::provider
