// The "Choose Profile" dialog.
#pragma once

#include "database.h"
#include "mapi_interfaces.h"
#include "profiles.h"

namespace fendrel::provider {

// Lets the user pick a profile and, where it has one, type its password. MAPI_E_USER_CANCEL, MAPI_E_LOGON_FAILED when
// there is no profile to choose.
HRESULT askForProfile(store::Database& database, ULONG_PTR window, store::Profile& profile);

}  // namespace fendrel::provider
