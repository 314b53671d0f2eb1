// Opening a session.
#pragma once

#include "mapi_interfaces.h"

namespace fendrel::provider {

// MAPILogonEx. Without a profile's name and MAPI_NEW_SESSION it returns the shared session, if any. `window`: the
// parent of the dialog; only the low 32 bits are used.
HRESULT logon(ULONG_PTR window, const void* profileName, const void* password, ULONG flags, LPMAPISESSION* session);

}  // namespace fendrel::provider
