// Opens the object of an entry identifier.
#pragma once

#include "folder_info.h"
#include "mapi_interfaces.h"
#include "session_context.h"

namespace fendrel::provider {

// OpenEntry within one store; without an identifier it opens the root folder. MAPI_E_INVALID_ENTRYID (other store),
// MAPI_E_UNKNOWN_ENTRYID (other provider), MAPI_E_NOT_FOUND, MAPI_E_INTERFACE_NOT_SUPPORTED, MAPI_E_NO_ACCESS.
HRESULT openEntryOfStore(const ScopePointer& scope, ULONG size, const void* entryId, LPCIID iid, ULONG flags,
                         ULONG* objectType, LPUNKNOWN* object);

// OpenEntry of a session: stores, their objects, and users.
HRESULT openEntryOfSession(const SessionPointer& session, ULONG size, const void* entryId, LPCIID iid, ULONG flags,
                           ULONG* objectType, LPUNKNOWN* object);

// A store of the session's profile. Others are MAPI_E_NOT_FOUND.
HRESULT openStore(const SessionPointer& session, const store::Id& id, bool writable, ScopePointer& scope);

HRESULT openFolder(const ScopePointer& scope, const store::FolderInfo& folder, LPCIID iid, ULONG flags,
                   LPUNKNOWN* object);

}  // namespace fendrel::provider
