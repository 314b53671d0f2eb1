// The "Choose Profile" dialog.
#pragma once

#include <functional>

#include "mapi_interfaces.h"
#include "profile_book.h"

namespace fendrel::provider {

// Logs on to a profile with what was typed, which may be empty.
using LogonAttempt = std::function<HRESULT(const store::Profile& profile, const std::u16string& password)>;

// Lets the user pick a profile and type its password, if it has one, until `attempt` does not return
// MAPI_E_LOGON_FAILED; returns its result. `refused`: begins at this profile, whose password was refused; null: at the
// default one. MAPI_E_USER_CANCEL, MAPI_E_LOGON_FAILED if there is no profile.
HRESULT logOnByDialog(store::ProfileBook& profiles, ULONG_PTR window, const store::Profile* refused,
                      const LogonAttempt& attempt);

}  // namespace fendrel::provider
