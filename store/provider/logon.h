// Opening a session.
#pragma once

#include "mapi_interfaces.h"

namespace fendrel::provider {

// MAPILogonEx. Without a profile's name and MAPI_NEW_SESSION it gives the shared session where there is one. `window`:
// the parent of the dialog, of which the low 32 bits count.
HRESULT logon(ULONG_PTR window, const void* profileName, const void* password, ULONG flags, LPMAPISESSION* session);

}  // namespace fendrel::provider
