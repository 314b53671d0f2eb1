// The "Choose Profile" dialog.
#pragma once

#include "mapi_interfaces.h"
#include "profile_book.h"

namespace fendrel::provider {

// Lets the user pick a profile and type its password, if it has one. MAPI_E_USER_CANCEL, MAPI_E_LOGON_FAILED if there
// is no profile.
HRESULT askForProfile(store::ProfileBook& profiles, ULONG_PTR window, store::Profile& profile);

}  // namespace fendrel::provider
