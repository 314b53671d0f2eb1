#include "message_store.h"

#include <algorithm>

#include "entry_opener.h"
#include "host_stream.h"
#include "mapi_table.h"
#include "memory_rows.h"
#include "status_codes.h"

namespace fendrel::provider {
namespace {

struct StandardFolder {
  store::Id store::StoreInfo::*folder;
  ULONG tag;
  ULONG validBit;
};
constexpr StandardFolder standardFolders[] = {
    {&store::StoreInfo::ipmSubtree, PR_IPM_SUBTREE_ENTRYID, FOLDER_IPM_SUBTREE_VALID},
    // The inbox has no property; GetReceiveFolder returns it.
    {&store::StoreInfo::inbox, 0, FOLDER_IPM_INBOX_VALID},
    {&store::StoreInfo::outbox, PR_IPM_OUTBOX_ENTRYID, FOLDER_IPM_OUTBOX_VALID},
    {&store::StoreInfo::wastebasket, PR_IPM_WASTEBASKET_ENTRYID, FOLDER_IPM_WASTEBASKET_VALID},
    {&store::StoreInfo::sentItems, PR_IPM_SENTMAIL_ENTRYID, FOLDER_IPM_SENTMAIL_VALID},
    {&store::StoreInfo::commonViews, PR_COMMON_VIEWS_ENTRYID, FOLDER_COMMON_VIEWS_VALID},
    {&store::StoreInfo::finder, PR_FINDER_ENTRYID, FOLDER_FINDER_VALID}};

}  // namespace

std::vector<Property> computedStoreProperties(const StoreScope& scope) {
  const auto* uid = reinterpret_cast<const std::byte*>(&providerId());
  const bool isPublic = scope.store.kind == store::StoreKind::Public;
  ULONG support = storeSupportMask(scope.writable);
  if (isPublic) support |= STORE_PUBLIC_FOLDERS;
  std::vector<Property> properties = {
      longProperty(PR_OBJECT_TYPE, MAPI_STORE),
      makeProperty(PR_ENTRYID, scope.storeEntryId()),
      makeProperty(PR_RECORD_KEY, bytesOf(scope.store.id)),
      makeProperty(PR_SEARCH_KEY, bytesOf(scope.store.id)),
      makeProperty(PR_INSTANCE_KEY, bytesOf(scope.store.id)),
      makeProperty(PR_STORE_ENTRYID, scope.storeEntryId()),
      makeProperty(PR_STORE_RECORD_KEY, bytesOf(scope.store.id)),
      makeProperty(PR_MAPPING_SIGNATURE, scope.mappingSignature()),
      makeProperty(PR_DISPLAY_NAME_W, scope.store.displayName),
      makeProperty(PR_PROVIDER_DISPLAY_W, std::u16string(u"Fendrel message store")),
      makeProperty(PR_MDB_PROVIDER, store::Bytes(uid, uid + sizeof(MAPIUID))),
      makeProperty(PR_DEFAULT_STORE, scope.isDefault()),
      longProperty(PR_RESOURCE_TYPE, MAPI_STORE_PROVIDER),
      longProperty(PR_RESOURCE_FLAGS,
                   scope.isDefault() ? STATUS_DEFAULT_STORE | STATUS_PRIMARY_STORE : STATUS_NO_DEFAULT_STORE),
      longProperty(PR_STORE_SUPPORT_MASK, support),
      longProperty(PR_STORE_STATE, 0),
      longProperty(PR_ACCESS, scope.writable ? MAPI_ACCESS_READ | MAPI_ACCESS_MODIFY : MAPI_ACCESS_READ),
      longProperty(PR_ACCESS_LEVEL, scope.writable ? MAPI_MODIFY : 0)};
  ULONG valid = 0;
  for (const StandardFolder& standard : standardFolders) {
    const store::Id& folder = scope.store.*standard.folder;
    if (folder.empty()) continue;
    valid |= standard.validBit;
    if (standard.tag) properties.push_back(makeProperty(standard.tag, scope.folderEntryId(folder)));
  }
  properties.push_back(longProperty(PR_VALID_FOLDER_MASK, valid));
  return properties;
}

HRESULT MessageStore::readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) {
  const auto computed = computedStoreProperties(*scope_);
  std::vector<Property> stored;
  const auto status = scope_->engine().readStoreProperties(scope_->store.id, tags, stored);
  if (status != store::Status::Ok) return toResult(status);
  for (const PropertyTag tag : tags) {
    Property property = findProperty(computed, tag);
    found.push_back(property.tag ? std::move(property) : findProperty(stored, tag));
  }
  return S_OK;
}

HRESULT MessageStore::readAllProperties(std::vector<Property>& found) {
  const auto status = scope_->engine().readStoreProperties(scope_->store.id, {}, found);
  if (status != store::Status::Ok) return toResult(status);
  auto computed = computedStoreProperties(*scope_);
  std::erase_if(found, [&](const Property& property) { return findProperty(computed, property.tag).tag != 0; });
  found.insert(found.begin(), computed.begin(), computed.end());
  return S_OK;
}

HRESULT MessageStore::checkProperty(PropertyTag tag) const {
  return findProperty(computedStoreProperties(*scope_), tag).tag ? MAPI_E_COMPUTED : S_OK;
}

HRESULT MessageStore::changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) {
  return toResult(scope_->engine().changeStoreProperties(scope_->store.id, set, remove));
}

HRESULT MessageStore::openProperty(ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) {
  return openHostStream(*this, this, mutex(), tag, iid, options, flags, object);
}

STDMETHODIMP MessageStore::Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, UlongPtr*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP MessageStore::Unadvise(UlongPtr) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP MessageStore::CompareEntryIDs(ULONG size1, LPENTRYID entryId1, ULONG size2, LPENTRYID entryId2, ULONG,
                                           ULONG* equal) {
  return compareEntryIds(size1, entryId1, size2, entryId2, equal);
}

STDMETHODIMP MessageStore::OpenEntry(ULONG size, LPENTRYID entryId, LPCIID iid, ULONG flags, ULONG* objectType,
                                     LPUNKNOWN* object) {
  return locked([&] { return openEntryOfStore(scope_, size, entryId, iid, flags, objectType, object); });
}

STDMETHODIMP MessageStore::SetReceiveFolder(LPTSTR, ULONG, ULONG, LPENTRYID) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP MessageStore::GetReceiveFolder(LPTSTR, ULONG flags, ULONG* size, LPENTRYID* entryId,
                                            LPTSTR* explicitClass) {
  if (!size || !entryId) return MAPI_E_INVALID_PARAMETER;
  return locked([&]() -> HRESULT {
    *size = 0;
    *entryId = nullptr;
    // A public store has no receive folder.
    if (scope_->store.inbox.empty()) return MAPI_E_NO_SUPPORT;
    // All classes are delivered to the inbox; the empty class means all.
    if (explicitClass) {
      const std::size_t unit = textForm(flags) == TextForm::Wide ? sizeof(wchar_t) : sizeof(char);
      *explicitClass = static_cast<LPTSTR>(allocateTop(unit));
    }
    return handOutEntryId(scope_->folderEntryId(scope_->store.inbox), size, entryId);
  });
}

STDMETHODIMP MessageStore::GetReceiveFolderTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return locked([&]() -> HRESULT {
    *table = nullptr;
    const store::Id& inbox = scope_->store.inbox;
    if (inbox.empty()) return MAPI_E_NO_SUPPORT;
    const MemoryRows::Row row = {makeProperty(PR_MESSAGE_CLASS_W, std::u16string()),
                                 makeProperty(PR_ENTRYID, scope_->folderEntryId(inbox)),
                                 makeProperty(PR_RECORD_KEY, bytesOf(inbox)),
                                 makeProperty(PR_INSTANCE_KEY, bytesOf(inbox)), longProperty(PR_ROWID, 1)};
    auto opened = makeObject<MapiTable>(home(), oneRow(row), textForm(flags));
    return handOut(opened, table);
  });
}
STDMETHODIMP MessageStore::StoreLogoff(ULONG*) { return S_OK; }
STDMETHODIMP MessageStore::AbortSubmit(ULONG, LPENTRYID, ULONG) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP MessageStore::GetOutgoingQueue(ULONG, LPMAPITABLE*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP MessageStore::SetLockState(LPMESSAGE, ULONG) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP MessageStore::FinishedMsg(ULONG, ULONG, LPENTRYID) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP MessageStore::NotifyNewMail(LPNOTIFICATION) { return MAPI_E_NO_SUPPORT; }

}  // namespace fendrel::provider
