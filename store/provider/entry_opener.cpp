#include "entry_opener.h"

#include "folder.h"
#include "mail_user.h"
#include "message.h"
#include "message_store.h"
#include "status_codes.h"

namespace fendrel::provider {
namespace {

HRESULT openMessage(const ScopePointer& scope, const store::Id& id, LPCIID iid, ULONG flags, LPUNKNOWN* object) {
  if (!accepts<IMessage>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
  store::MessageInfo info;
  if (const auto status = scope->engine().findMessage(id, info); status != store::Status::Ok) return toResult(status);
  store::FolderInfo folder;
  const auto status = scope->engine().findFolder(info.folder, folder);
  if (status != store::Status::Ok) return toResult(status);
  if (folder.store != scope->store.id) return MAPI_E_NOT_FOUND;
  bool writable = false;
  if (const HRESULT result = accessFor(flags, scope->writable, writable); FAILED(result)) return result;
  auto message = makeObject<Message>(scope, info, writable);
  return handOut(message, object);
}

HRESULT openUser(const SessionPointer& session, const store::Id& id, LPCIID iid, LPUNKNOWN* object) {
  if (!accepts<IMailUser>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
  std::vector<store::Profile> profiles;
  if (const auto status = session->profiles->list(profiles); status != store::Status::Ok) return toResult(status);
  for (const store::Profile& profile : profiles) {
    if (id != profile.id) continue;
    auto user = makeObject<MailUser>(session, profile);
    return handOut(user, object);
  }
  return MAPI_E_NOT_FOUND;
}

}  // namespace

HRESULT openStore(const SessionPointer& session, const store::Id& id, bool writable, ScopePointer& scope) {
  auto opened = std::make_shared<StoreScope>();
  opened->session = session;
  opened->writable = writable;
  const auto status = session->engine->findStore(id, opened->store);
  if (status != store::Status::Ok) return toResult(status);
  scope = std::move(opened);
  return S_OK;
}

HRESULT openFolder(const ScopePointer& scope, const store::FolderInfo& folder, LPCIID iid, ULONG flags,
                   LPUNKNOWN* object) {
  if (!accepts<IMAPIFolder>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
  bool writable = false;
  if (const HRESULT result = accessFor(flags, scope->writable, writable); FAILED(result)) return result;
  auto opened = makeObject<Folder>(scope, folder.id, writable);
  return handOut(opened, object);
}

HRESULT openEntryOfStore(const ScopePointer& scope, ULONG size, const void* entryId, LPCIID iid, ULONG flags,
                         ULONG* objectType, LPUNKNOWN* object) {
  if (!object) return MAPI_E_INVALID_PARAMETER;
  *object = nullptr;
  EntryId id{MAPI_FOLDER, scope->store.id, scope->store.root};
  if (size != 0 || entryId) {
    const auto decoded = decode(size, entryId);
    if (!decoded) return refusalOf(size, entryId);
    if (decoded->store != scope->store.id) return MAPI_E_INVALID_ENTRYID;
    id = *decoded;
  }
  HRESULT result = MAPI_E_INVALID_ENTRYID;
  if (id.type == MAPI_FOLDER) {
    store::FolderInfo folder;
    const auto status = scope->engine().findFolder(id.object, folder);
    if (status != store::Status::Ok) return toResult(status);
    if (folder.store != scope->store.id) return MAPI_E_NOT_FOUND;
    result = openFolder(scope, folder, iid, flags, object);
  } else if (id.type == MAPI_MESSAGE) {
    result = openMessage(scope, id.object, iid, flags, object);
  } else if (id.type == MAPI_STORE) {
    if (!accepts<IMsgStore>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    bool writable = false;
    if (result = accessFor(flags, scope->writable, writable); FAILED(result)) return result;
    ScopePointer opened;
    if (result = openStore(scope->session, id.object, writable, opened); FAILED(result)) return result;
    auto store = makeObject<MessageStore>(opened);
    result = handOut(store, object);
  }
  if (SUCCEEDED(result) && objectType) *objectType = id.type;
  return result;
}

HRESULT openEntryOfSession(const SessionPointer& session, ULONG size, const void* entryId, LPCIID iid, ULONG flags,
                           ULONG* objectType, LPUNKNOWN* object) {
  if (!object) return MAPI_E_INVALID_PARAMETER;
  *object = nullptr;
  const auto id = decode(size, entryId);
  if (!id) return refusalOf(size, entryId);
  if (id->type == MAPI_MAILUSER) {
    const HRESULT result = openUser(session, id->object, iid, object);
    if (SUCCEEDED(result) && objectType) *objectType = MAPI_MAILUSER;
    return result;
  }
  ScopePointer scope;
  if (const HRESULT result = openStore(session, id->store, true, scope); FAILED(result)) return result;
  return openEntryOfStore(scope, size, entryId, iid, flags, objectType, object);
}

}  // namespace fendrel::provider
