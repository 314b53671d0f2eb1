// Opening a session.
#pragma once

#include "mapi.h"

namespace fendrel::provider {

// MAPILogonEx. `window`: the parent of the dialog, of which the low 32 bits count.
HRESULT logon(ULONG_PTR window, const void* profileName, const void* password, ULONG flags, LPMAPISESSION* session);

}  // namespace fendrel::provider
