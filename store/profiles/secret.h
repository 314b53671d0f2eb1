// Secrets that must be read again: encrypted with the system's data protection, so that only this user on this machine
// can read them.
#pragma once

#include <string>

#include "property.h"

namespace fendrel::store {

// False if the system refuses. An empty secret gives empty bytes.
bool sealSecret(const std::u16string& secret, Bytes& sealed);

// False for one encrypted by another user or machine.
bool openSecret(const Bytes& sealed, std::u16string& secret);

// Overwrites it in memory.
void wipe(std::u16string& secret) noexcept;

}  // namespace fendrel::store
