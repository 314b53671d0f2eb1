// Profile passwords: kept as a salted slow hash (PBKDF2 with HMAC-SHA-256), made by the system's cryptography.
#pragma once

#include <string>

#include "mapi_interfaces.h"
#include "profile_book.h"

namespace fendrel::provider {

// A record with a fresh salt. MAPI_E_CALL_FAILED when the system's cryptography does not work.
HRESULT hashPassword(const std::u16string& password, store::PasswordRecord& record);

// S_OK for the right password, and for any password where none is kept; else MAPI_E_LOGON_FAILED.
HRESULT checkPassword(const store::PasswordRecord& record, const std::u16string& password);

}  // namespace fendrel::provider
