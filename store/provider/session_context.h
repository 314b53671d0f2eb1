// The common state of a logon's objects.
#pragma once

#include <memory>
#include <mutex>

#include "engine.h"
#include "entry_id.h"
#include "ids.h"
#include "object_home.h"
#include "profile_book.h"

namespace fendrel::provider {

struct SessionContext {
  std::recursive_mutex mutex;  // locked by every call of every object of the session
  std::shared_ptr<store::ProfileBook> profiles;
  store::Profile profile;
  std::shared_ptr<store::Engine> engine;
};
using SessionPointer = std::shared_ptr<SessionContext>;

inline ObjectHome homeOf(const SessionPointer& session) {
  return {std::shared_ptr<std::recursive_mutex>(session, &session->mutex), session->engine};
}

// An open store of a session.
struct StoreScope {
  SessionPointer session;
  store::StoreInfo store;
  bool writable = false;

  store::Engine& engine() const { return *session->engine; }
  bool isDefault() const { return store.id == engine().defaultStore(); }
  store::Bytes mappingSignature() const { return engine().mappingSignature(); }
  store::Bytes storeEntryId() const { return encode({MAPI_STORE, store.id, store.id}); }
  store::Bytes folderEntryId(const store::Id& folder) const { return encode({MAPI_FOLDER, store.id, folder}); }
  store::Bytes messageEntryId(const store::Id& message) const { return encode({MAPI_MESSAGE, store.id, message}); }
};
using ScopePointer = std::shared_ptr<const StoreScope>;

// The identifier of the session's user.
inline store::Bytes userEntryId(const store::Profile& profile) {
  return encode({MAPI_MAILUSER, store::noGuid, profile.id});
}

// PR_STORE_SUPPORT_MASK. STORE_UNICODE_OK is missing from some versions of the headers.
constexpr ULONG storeUnicodeOk = 0x00040000;
constexpr ULONG storeSupportMask(bool writable) {
  const ULONG always = STORE_ENTRYID_UNIQUE | STORE_ATTACH_OK | STORE_MV_PROPS_OK | STORE_RESTRICTION_OK |
                       STORE_SORT_OK | storeUnicodeOk;
  return writable ? always | STORE_MODIFY_OK | STORE_CREATE_OK : always | STORE_READONLY;
}

// The access requested by the flags of an open call. MAPI_MODIFY for a read-only object is MAPI_E_NO_ACCESS.
inline HRESULT accessFor(ULONG flags, bool mayModify, bool& writable) {
  writable = mayModify && (flags & (MAPI_MODIFY | MAPI_BEST_ACCESS)) != 0;
  return (flags & MAPI_MODIFY) && !mayModify ? MAPI_E_NO_ACCESS : S_OK;
}

}  // namespace fendrel::provider
