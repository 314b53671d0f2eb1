// Profile passwords as salted slow hashes (PBKDF2 with HMAC-SHA-256), computed by the system's cryptography.
#pragma once

#include <string>

#include "mapi_interfaces.h"
#include "profile_book.h"

namespace fendrel::provider {

// A record with a new salt. MAPI_E_CALL_FAILED if the system's cryptography fails.
HRESULT hashPassword(const std::u16string& password, store::PasswordRecord& record);

// S_OK for the right password, and for any password if the record is empty; else MAPI_E_LOGON_FAILED.
HRESULT checkPassword(const store::PasswordRecord& record, const std::u16string& password);

}  // namespace fendrel::provider
