// Secrets that have to be read again: kept under the system's data protection, so that this user alone, on this machine,
// can read them.
#pragma once

#include <string>

#include "property.h"

namespace fendrel::store {

// False when the system refuses. Nothing seals to nothing.
bool sealSecret(const std::u16string& secret, Bytes& sealed);

// False for one that another user or machine sealed.
bool openSecret(const Bytes& sealed, std::u16string& secret);

// Overwrites it in memory.
void wipe(std::u16string& secret) noexcept;

}  // namespace fendrel::store
