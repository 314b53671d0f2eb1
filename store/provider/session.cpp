#include "session.h"

#include "entry_opener.h"
#include "last_error.h"
#include "mapi_table.h"
#include "memory_rows.h"
#include "message_store.h"
#include "profile_section.h"
#include "service_admin.h"
#include "status_codes.h"

namespace fendrel::provider {
namespace {

// The stores table has what is needed to open stores, not their contents.
std::vector<PropertyTag> storeColumns() {
  return {PR_ENTRYID,       PR_DISPLAY_NAME_W,     PR_DEFAULT_STORE,     PR_RECORD_KEY,
          PR_RESOURCE_TYPE, PR_RESOURCE_FLAGS,     PR_MDB_PROVIDER,      PR_OBJECT_TYPE,
          PR_INSTANCE_KEY,  PR_PROVIDER_DISPLAY_W, PR_STORE_SUPPORT_MASK};
}

}  // namespace

STDMETHODIMP Session::GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) {
  return guarded([&] { return lastError(*context_->engine, result, flags, error); });
}

STDMETHODIMP Session::GetMsgStoresTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  *table = nullptr;
  return loggedOn([&] {
    std::vector<store::StoreInfo> stores;
    if (const auto status = context_->engine->listStores(stores); status != store::Status::Ok) return toResult(status);
    std::vector<MemoryRows::Row> rows;
    for (store::StoreInfo& store : stores) {
      MemoryRows::Row row;
      const auto properties = computedStoreProperties({context_, std::move(store), true});
      for (const PropertyTag column : storeColumns()) row.push_back(findProperty(properties, column));
      rows.push_back(std::move(row));
    }
    auto source = std::make_unique<MemoryRows>(storeColumns(), std::move(rows));
    auto opened = makeObject<MapiTable>(homeOf(context_), std::move(source), textForm(flags));
    return handOut(opened, table);
  });
}

STDMETHODIMP Session::OpenMsgStore(ULONG_PTR, ULONG size, LPENTRYID entryId, LPCIID iid, ULONG flags, LPMDB* store) {
  if (!store) return MAPI_E_INVALID_PARAMETER;
  *store = nullptr;
  return loggedOn([&]() -> HRESULT {
    if (!accepts<IMsgStore>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    const auto id = decode(size, entryId);
    if (!id) return refusalOf(size, entryId);
    if (id->type != MAPI_STORE) return MAPI_E_INVALID_ENTRYID;
    ScopePointer scope;
    const bool writable = (flags & (MDB_WRITE | MAPI_BEST_ACCESS)) != 0;
    if (const HRESULT result = openStore(context_, id->object, writable, scope); FAILED(result)) return result;
    auto opened = makeObject<MessageStore>(scope);
    return handOut(opened, store);
  });
}

STDMETHODIMP Session::OpenAddressBook(ULONG_PTR, LPCIID, ULONG, LPADRBOOK*) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP Session::OpenProfileSection(LPMAPIUID uid, LPCIID iid, ULONG flags, LPPROFSECT* section) {
  if (!section) return MAPI_E_INVALID_PARAMETER;
  *section = nullptr;
  return loggedOn(
      [&] { return openProfileSection(context_->profiles, context_->profile.name, uid, iid, flags, section); });
}

STDMETHODIMP Session::GetStatusTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  *table = nullptr;
  return loggedOn([&] {
    const store::Profile& profile = context_->profile;
    const MemoryRows::Row subsystem = {longProperty(PR_RESOURCE_TYPE, MAPI_SUBSYSTEM),
                                       makeProperty(PR_DISPLAY_NAME_W, profile.name),
                                       makeProperty(PR_PROVIDER_DISPLAY_W, std::u16string(u"MAPI subsystem")),
                                       makeProperty(PR_PROVIDER_DLL_NAME_W, std::u16string(u"MAPI32.DLL")),
                                       longProperty(PR_RESOURCE_FLAGS, 0),
                                       longProperty(PR_RESOURCE_METHODS, 0),
                                       longProperty(PR_STATUS_CODE, STATUS_AVAILABLE),
                                       longProperty(PR_OBJECT_TYPE, MAPI_STATUS),
                                       longProperty(PR_ROWID, 1),
                                       makeProperty(PR_ENTRYID, encode({MAPI_STATUS, store::noGuid, profile.id})),
                                       makeProperty(PR_INSTANCE_KEY, bytesOf(profile.id)),
                                       makeProperty(PR_IDENTITY_DISPLAY_W, profile.userName),
                                       makeProperty(PR_IDENTITY_ENTRYID, userEntryId(profile))};
    auto opened = makeObject<MapiTable>(homeOf(context_), oneRow(subsystem), textForm(flags));
    return handOut(opened, table);
  });
}

STDMETHODIMP Session::OpenEntry(ULONG size, LPENTRYID entryId, LPCIID iid, ULONG flags, ULONG* objectType,
                                LPUNKNOWN* object) {
  return loggedOn([&] { return openEntryOfSession(context_, size, entryId, iid, flags, objectType, object); });
}

STDMETHODIMP Session::CompareEntryIDs(ULONG size1, LPENTRYID entryId1, ULONG size2, LPENTRYID entryId2, ULONG,
                                      ULONG* equal) {
  return compareEntryIds(size1, entryId1, size2, entryId2, equal);
}

STDMETHODIMP Session::Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, UlongPtr*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP Session::Unadvise(UlongPtr) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP Session::MessageOptions(ULONG_PTR, ULONG, LPTSTR, LPMESSAGE) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP Session::QueryDefaultMessageOpt(LPTSTR, ULONG, ULONG*, LPSPropValue*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP Session::EnumAdrTypes(ULONG, ULONG*, LPTSTR**) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP Session::QueryIdentity(ULONG* size, LPENTRYID* entryId) {
  if (!size || !entryId) return MAPI_E_INVALID_PARAMETER;
  *size = 0;
  *entryId = nullptr;
  return loggedOn([&] { return handOutEntryId(userEntryId(context_->profile), size, entryId); });
}

STDMETHODIMP Session::Logoff(ULONG_PTR, ULONG, ULONG) {
  return loggedOn([&] {
    isLoggedOn_ = false;
    shared_.reset();
    return S_OK;
  });
}

STDMETHODIMP Session::SetDefaultStore(ULONG, ULONG, LPENTRYID) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP Session::AdminServices(ULONG, LPSERVICEADMIN* admin) {
  if (!admin) return MAPI_E_INVALID_PARAMETER;
  *admin = nullptr;
  return loggedOn([&] {
    auto opened = makeObject<ServiceAdmin>(context_->profiles, context_->profile.name, false);
    return handOut(opened, admin);
  });
}

STDMETHODIMP Session::ShowForm(ULONG_PTR, LPMDB, LPMAPIFOLDER, LPCIID, UlongPtr, LPMESSAGE, ULONG, ULONG, ULONG, ULONG,
                               LPSTR) {
  return MAPI_E_NO_SUPPORT;
}
STDMETHODIMP Session::PrepareForm(LPCIID, LPMESSAGE, UlongPtr*) { return MAPI_E_NO_SUPPORT; }

}  // namespace fendrel::provider
