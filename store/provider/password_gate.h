// Slows down whoever tries passwords.
#pragma once

#include "mapi_interfaces.h"
#include "profile_book.h"

namespace fendrel::provider {

// checkPassword, for all processes one try at a time on a profile. A wrong one is answered late, by one second and then
// by two, and others wait for it as long; but nobody waits for the tries of others for more than a few seconds, so that
// they cannot keep out who knows the password.
HRESULT tryPassword(const store::Profile& profile, const std::u16string& password);

// The longest wait for others, in milliseconds.
constexpr DWORD longestGateWait = 3'000;

}  // namespace fendrel::provider
