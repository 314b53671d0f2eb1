// Secrets that have to be read again: kept under the system's data protection, so that this user alone, on this machine,
// can read them.
#pragma once

#include <string>

#include "mapi_interfaces.h"
#include "property.h"

namespace fendrel::provider {

// MAPI_E_CALL_FAILED when the system refuses. Nothing seals to nothing.
HRESULT sealSecret(const std::u16string& secret, store::Bytes& sealed);

// MAPI_E_LOGON_FAILED for one that another user or machine sealed.
HRESULT openSecret(const store::Bytes& sealed, std::u16string& secret);

// Overwrites it in memory.
void wipe(std::u16string& secret) noexcept;

}  // namespace fendrel::provider
