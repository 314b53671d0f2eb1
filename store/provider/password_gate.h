// Slows down password guessing.
#pragma once

#include "mapi_interfaces.h"
#include "profile_book.h"

namespace fendrel::provider {

// checkPassword, one try at a time per profile across all processes. A wrong password is answered after one second,
// then after two, and others wait as long. Nobody waits for others' tries longer than longestGateWait, so that they
// cannot lock out a user with the right password.
HRESULT tryPassword(const store::Profile& profile, const std::u16string& password);

// The longest wait for others, in milliseconds.
constexpr DWORD longestGateWait = 3'000;

}  // namespace fendrel::provider
