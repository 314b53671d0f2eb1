#include "container_objects.h"

#include <fmt/format.h>
#include <mapitags.h>

#include "buffers.h"
#include "message_objects.h"
#include "table.h"

namespace recording {
namespace {

std::string entryArguments(ULONG size, const ENTRYID* entryId, const IID* interfaceId, ULONG flags) {
  return fmt::format("entry={} interface={} flags={:#x}", world().describeEntry(bytesOf(size, entryId)),
                     interfaceName(interfaceId), static_cast<unsigned long>(flags));
}

// Returns an object as the requested interface, or fails.
template <class Made>
HRESULT handOut(Made* made, const IID* interfaceId, ULONG type, ULONG* objectType, LPUNKNOWN* object) {
  if (interfaceId) {
    void* asked = nullptr;
    const HRESULT result = made->QueryInterface(*interfaceId, &asked);
    made->Release();
    if (FAILED(result)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    *object = static_cast<IUnknown*>(asked);
  } else {
    *object = made;
  }
  if (objectType) *objectType = type;
  return S_OK;
}

HRESULT openEntry(const Bytes& entryId, const IID* interfaceId, ULONG* objectType, LPUNKNOWN* object) {
  if (Folder* const folder = world().findFolder(entryId))
    return handOut(objects().make<FolderObject>(*folder), interfaceId, MAPI_FOLDER, objectType, object);
  if (Message* const message = world().findMessage(entryId); message && message->saved)
    return handOut(objects().make<MessageObject>(*message, false), interfaceId, MAPI_MESSAGE, objectType, object);
  return MAPI_E_NOT_FOUND;
}

}  // namespace

SessionObject::SessionObject(std::wstring profileName)
    : RefusingSession("IMAPISession", utf8(profileName), {&IID_IMAPISession}), profileName_(std::move(profileName)) {
  ++recorder().sessions;
}

void SessionObject::lastReferenceGone() {
  if (loggedOn_) recorder().fault("a session was released without Logoff: " + label());
}

STDMETHODIMP SessionObject::GetMsgStoresTable(ULONG flags, LPMAPITABLE* table) {
  return perform("GetMsgStoresTable", "flags=" + hex(flags),
                 [&]() -> HRESULT {
                   std::vector<PropertyBag> rows;
                   for (const auto& store : world().stores()) rows.push_back(store->row);
                   *table = objects().make<Table>("message stores", std::move(rows));
                   return S_OK;
                 },
                 {.object = asObject(table)});
}

STDMETHODIMP SessionObject::GetStatusTable(ULONG flags, LPMAPITABLE* table) {
  return perform("GetStatusTable", "flags=" + hex(flags),
                 [&]() -> HRESULT {
                   *table = objects().make<Table>("status", world().statusRows(profileName_));
                   return S_OK;
                 },
                 {.object = asObject(table)});
}

STDMETHODIMP SessionObject::OpenMsgStore(ULONG_PTR window, ULONG size, LPENTRYID entryId, LPCIID interfaceId,
                                         ULONG flags, LPMDB* store) {
  const std::string arguments = "window=" + hex(window) + " " + entryArguments(size, entryId, interfaceId, flags);
  return perform("OpenMsgStore", arguments,
                 [&]() -> HRESULT {
                   Store* const known = world().findStore(bytesOf(size, entryId));
                   if (!known) return MAPI_E_NOT_FOUND;
                   LPUNKNOWN object = nullptr;
                   const HRESULT result =
                       handOut(objects().make<StoreObject>(*known), interfaceId, MAPI_STORE, nullptr, &object);
                   if (SUCCEEDED(result)) *store = static_cast<IMsgStore*>(object);
                   return result;
                 },
                 {.object = asObject(store)});
}

STDMETHODIMP SessionObject::OpenEntry(ULONG size, LPENTRYID entryId, LPCIID interfaceId, ULONG flags, ULONG* objectType,
                                      LPUNKNOWN* object) {
  return perform("OpenEntry", entryArguments(size, entryId, interfaceId, flags),
                 [&]() -> HRESULT {
                   const Bytes wanted = bytesOf(size, entryId);
                   if (world().identity() == wanted)
                     return handOut(objects().make<UserObject>(), interfaceId, MAPI_MAILUSER, objectType, object);
                   if (Store* const store = world().findStore(wanted))
                     return handOut(objects().make<StoreObject>(*store), interfaceId, MAPI_STORE, objectType, object);
                   return openEntry(wanted, interfaceId, objectType, object);
                 },
                 {.object = object, .objectType = objectType});
}

STDMETHODIMP SessionObject::QueryIdentity(ULONG* size, LPENTRYID* entryId) {
  return perform("QueryIdentity", "",
                 [&]() -> HRESULT {
                   if (!world().identity()) return MAPI_E_NOT_FOUND;
                   const Bytes& identity = *world().identity();
                   auto* const copy = static_cast<BYTE*>(buffers().allocate(identity.size(), "QueryIdentity"));
                   std::ranges::copy(identity, copy);
                   *size = static_cast<ULONG>(identity.size());
                   *entryId = reinterpret_cast<LPENTRYID>(copy);
                   return S_OK;
                 },
                 {.block = reinterpret_cast<void**>(entryId), .count = size});
}

STDMETHODIMP SessionObject::Logoff(ULONG_PTR window, ULONG flags, ULONG reserved) {
  // The client has logged off even if the logoff fails.
  if (!loggedOn_) recorder().fault("logged off twice: " + label());
  if (loggedOn_) --recorder().sessions;
  loggedOn_ = false;
  return perform("Logoff",
                 fmt::format("window={:#x} flags={:#x} reserved={:#x}", window, static_cast<unsigned long>(flags),
                             static_cast<unsigned long>(reserved)),
                 [] { return S_OK; });
}

StoreObject::StoreObject(Store& store)
    : RefusingStore("IMsgStore", store.label, {&IID_IMAPIProp, &IID_IMsgStore}), store_(store) {}

STDMETHODIMP StoreObject::GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) {
  return perform("GetProps", "tags=" + columnNames(tags) + " flags=" + hex(flags),
                 [&]() -> HRESULT { return getProps(store_.properties, tags, flags, count, values); },
                 {.count = count, .values = values});
}

STDMETHODIMP StoreObject::OpenEntry(ULONG size, LPENTRYID entryId, LPCIID interfaceId, ULONG flags, ULONG* objectType,
                                    LPUNKNOWN* object) {
  return perform("OpenEntry", entryArguments(size, entryId, interfaceId, flags),
                 [&]() -> HRESULT { return openEntry(bytesOf(size, entryId), interfaceId, objectType, object); },
                 {.object = object, .objectType = objectType});
}

FolderObject::FolderObject(Folder& folder)
    : RefusingFolder("IMAPIFolder", folder.label, {&IID_IMAPIProp, &IID_IMAPIContainer, &IID_IMAPIFolder}),
      folder_(folder) {}

STDMETHODIMP FolderObject::GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) {
  return perform("GetProps", "tags=" + columnNames(tags) + " flags=" + hex(flags),
                 [&]() -> HRESULT { return getProps(folder_.properties, tags, flags, count, values); },
                 {.count = count, .values = values});
}

STDMETHODIMP FolderObject::GetContentsTable(ULONG flags, LPMAPITABLE* table) {
  return perform("GetContentsTable", "flags=" + hex(flags),
                 [&]() -> HRESULT {
                   std::vector<PropertyBag> rows;
                   for (const Message* const message : folder_.messages)
                     if (message->saved && message->associated == ((flags & MAPI_ASSOCIATED) != 0))
                       rows.push_back(message->saved->properties);
                   *table = objects().make<Table>("contents of " + label(), std::move(rows));
                   return S_OK;
                 },
                 {.object = asObject(table)});
}

STDMETHODIMP FolderObject::GetHierarchyTable(ULONG flags, LPMAPITABLE* table) {
  return perform("GetHierarchyTable", "flags=" + hex(flags),
                 [&]() -> HRESULT {
                   std::vector<PropertyBag> rows;
                   for (const Folder* const child : folder_.children) rows.push_back(child->properties);
                   *table = objects().make<Table>("hierarchy of " + label(), std::move(rows));
                   return S_OK;
                 },
                 {.object = asObject(table)});
}

STDMETHODIMP FolderObject::OpenEntry(ULONG size, LPENTRYID entryId, LPCIID interfaceId, ULONG flags, ULONG* objectType,
                                     LPUNKNOWN* object) {
  return perform("OpenEntry", entryArguments(size, entryId, interfaceId, flags),
                 [&]() -> HRESULT { return openEntry(bytesOf(size, entryId), interfaceId, objectType, object); },
                 {.object = object, .objectType = objectType});
}

STDMETHODIMP FolderObject::CreateMessage(LPCIID interfaceId, ULONG flags, LPMESSAGE* message) {
  return perform("CreateMessage", "interface=" + interfaceName(interfaceId) + " flags=" + hex(flags),
                 [&]() -> HRESULT {
                   *message =
                       objects().make<MessageObject>(world().addMessage(folder_, (flags & MAPI_ASSOCIATED) != 0), true);
                   return S_OK;
                 },
                 {.object = asObject(message)});
}

UserObject::UserObject() : RefusingProp("IMailUser", "user", {&IID_IMAPIProp, &IID_IMailUser}) {}

STDMETHODIMP UserObject::GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) {
  return perform("GetProps", "tags=" + columnNames(tags) + " flags=" + hex(flags),
                 [&]() -> HRESULT { return getProps(world().user(), tags, flags, count, values); },
                 {.count = count, .values = values});
}

}  // namespace recording
