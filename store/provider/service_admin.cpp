#include "service_admin.h"

#include <fendrel/server_profile.h>

#include "entry_id.h"
#include "last_error.h"
#include "mapi_table.h"
#include "profile_section.h"
#include "property_order.h"
#include "secret.h"
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

// The identifier of a profile's service is that of the profile.
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
      // The profile was made for the refused service: a program that gives up would leave it behind.
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
STDMETHODIMP ServiceAdmin::MsgServiceTransportOrder(ULONG, LPMAPIUID, ULONG) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::AdminProviders(LPMAPIUID, ULONG, LPPROVIDERADMIN*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::SetPrimaryIdentity(LPMAPIUID, ULONG) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP ServiceAdmin::ConfigureMsgService(LPMAPIUID uid, ULONG_PTR, ULONG, ULONG count, LPSPropValue values) {
  if (count == 0) return MAPI_E_NO_SUPPORT;  // configuring by dialog is not supported
  if (!uid || !values) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    store::Bytes own;
    if (const HRESULT result = serviceUid(own); FAILED(result)) return result;
    if (std::memcmp(uid, own.data(), sizeof *uid) != 0) return MAPI_E_NOT_FOUND;
    return changeServer(std::span(values, count));
  });
}

HRESULT ServiceAdmin::changeServer(std::span<const SPropValue> values) {
  store::Profile profile;
  if (const auto status = profiles_->find(profile_, profile); status != store::Status::Ok) return toResult(status);
  store::ServerAccess server = profile.server.value_or(store::ServerAccess{});
  for (const SPropValue& value : values) {
    Property property;
    if (const HRESULT result = takeValue(value, property); FAILED(result)) return result;
    auto* text = std::get_if<std::u16string>(&property.value);
    if (!text) return MAPI_E_INVALID_TYPE;
    switch (property.tag) {
      case serverUrlTag: server.url = *text; break;
      case serverUserTag: server.user = *text; break;
      case publicAccountTag: server.publicAccount = *text; break;
      case tlsCaFileTag: server.tlsCaFile = *text; break;
      case serverSecretTag: {
        const bool isSealed = store::sealSecret(*text, server.sealedSecret);
        store::wipe(*text);
        if (!isSealed) return MAPI_E_CALL_FAILED;
        break;
      }
      default: return MAPI_E_NO_SUPPORT;
    }
  }
  return toResult(profiles_->setServer(profile_, server));
}

STDMETHODIMP ServiceAdmin::GetProviderTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    *table = nullptr;
    store::Bytes uid;
    if (const HRESULT result = serviceUid(uid); FAILED(result)) return result;
    return openTable({makeProperty(PR_PROVIDER_UID, providerUid()), makeProperty(PR_SERVICE_UID, uid),
                      makeProperty(PR_SERVICE_NAME_W, std::u16string(serviceName)),
                      makeProperty(PR_DISPLAY_NAME_W, std::u16string(serviceTitle)),
                      makeProperty(PR_PROVIDER_DISPLAY_W, std::u16string(serviceTitle)),
                      makeProperty(PR_PROVIDER_DLL_NAME_W, std::u16string(library)),
                      longProperty(PR_PROVIDER_ORDINAL, 0), longProperty(PR_RESOURCE_TYPE, MAPI_STORE_PROVIDER),
                      longProperty(PR_RESOURCE_FLAGS, STATUS_DEFAULT_STORE | STATUS_PRIMARY_STORE),
                      makeProperty(PR_INSTANCE_KEY, providerUid()), longProperty(PR_ROWID, 1)},
                     flags, table);
  });
}

}  // namespace fendrel::provider
