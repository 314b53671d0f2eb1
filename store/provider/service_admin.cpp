#include "service_admin.h"

#include "entry_id.h"
#include "last_error.h"
#include "mapi_table.h"
#include "profile_section.h"
#include "property_order.h"
#include "status_codes.h"

namespace fendrel::provider {

namespace {

constexpr char16_t serviceName[] = u"FENDREL", serviceTitle[] = u"Fendrel message store", library[] = u"MAPI32.DLL";

store::Bytes providerUid() {
  const auto* uid = reinterpret_cast<const std::byte*>(&providerId());
  return {uid, uid + sizeof(MAPIUID)};
}

}  // namespace

STDMETHODIMP ServiceAdmin::GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) {
  return guarded([&] { return lastError(*profiles_, result, flags, error); });
}

// The identifier of a profile's one service is the profile's own.
HRESULT ServiceAdmin::serviceUid(store::Bytes& uid) const {
  store::Profile profile;
  if (const auto status = profiles_->find(profile_, profile); status != store::Status::Ok) {
    return toResult(status);
  }
  uid = bytesOf(profile.id);
  return S_OK;
}

HRESULT ServiceAdmin::openTable(MemoryRows::Row row, ULONG flags, LPMAPITABLE* table) const {
  auto opened = makeObject<MapiTable>(ObjectHome{std::make_shared<std::recursive_mutex>(), profiles_},
                                      oneRow(std::move(row)), textForm(flags));
  return handOut(opened, table);
}

STDMETHODIMP ServiceAdmin::OpenProfileSection(LPMAPIUID uid, LPCIID iid, ULONG flags, LPPROFSECT* section) {
  return guarded([&] { return openProfileSection(profiles_, profile_, uid, iid, flags, section); });
}

STDMETHODIMP ServiceAdmin::GetMsgServiceTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    *table = nullptr;
    store::Bytes uid;
    if (const HRESULT result = serviceUid(uid); FAILED(result)) return result;
    return openTable({makeProperty(PR_SERVICE_UID, uid), makeProperty(PR_SERVICE_NAME_W, std::u16string(serviceName)),
                      makeProperty(PR_DISPLAY_NAME_W, std::u16string(serviceTitle)),
                      makeProperty(PR_SERVICE_DLL_NAME_W, std::u16string(library)),
                      longProperty(PR_RESOURCE_FLAGS, SERVICE_SINGLE_COPY), makeProperty(PR_INSTANCE_KEY, uid),
                      longProperty(PR_ROWID, 1)},
                     flags, table);
  });
}

STDMETHODIMP ServiceAdmin::CreateMsgService(LPTSTR service, LPTSTR, ULONG_PTR, ULONG flags) {
  if (!service) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    if (lowerCase(textArgument(service, flags)) == lowerCase(serviceName)) return S_OK;  // every profile has it
    if (profileIsNew_) {
      // It was made for that service: a program that gives up would leave one behind that nobody asked for.
      profileIsNew_ = false;
      profiles_->setPassword(profile_, {});
      profiles_->remove(profile_, store::MailboxFate::Kept);
    }
    return MAPI_E_NO_SUPPORT;
  });
}

STDMETHODIMP ServiceAdmin::DeleteMsgService(LPMAPIUID) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::CopyMsgService(LPMAPIUID, LPTSTR, LPCIID, LPCIID, LPVOID, ULONG_PTR, ULONG) {
  return MAPI_E_NO_SUPPORT;
}
STDMETHODIMP ServiceAdmin::RenameMsgService(LPMAPIUID, ULONG, LPTSTR) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::ConfigureMsgService(LPMAPIUID, ULONG_PTR, ULONG, ULONG, LPSPropValue) {
  return MAPI_E_NO_SUPPORT;
}
STDMETHODIMP ServiceAdmin::MsgServiceTransportOrder(ULONG, LPMAPIUID, ULONG) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::AdminProviders(LPMAPIUID, ULONG, LPPROVIDERADMIN*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::SetPrimaryIdentity(LPMAPIUID, ULONG) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP ServiceAdmin::GetProviderTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    *table = nullptr;
    store::Bytes uid;
    if (const HRESULT result = serviceUid(uid); FAILED(result)) return result;
    return openTable(
        {makeProperty(PR_PROVIDER_UID, providerUid()), makeProperty(PR_SERVICE_UID, uid),
         makeProperty(PR_SERVICE_NAME_W, std::u16string(serviceName)),
         makeProperty(PR_DISPLAY_NAME_W, std::u16string(serviceTitle)),
         makeProperty(PR_PROVIDER_DISPLAY_W, std::u16string(serviceTitle)),
         makeProperty(PR_PROVIDER_DLL_NAME_W, std::u16string(library)), longProperty(PR_PROVIDER_ORDINAL, 0),
         longProperty(PR_RESOURCE_TYPE, MAPI_STORE_PROVIDER),
         longProperty(PR_RESOURCE_FLAGS, STATUS_DEFAULT_STORE | STATUS_PRIMARY_STORE),
         makeProperty(PR_INSTANCE_KEY, providerUid()), longProperty(PR_ROWID, 1)},
        flags, table);
  });
}

}  // namespace fendrel::provider
