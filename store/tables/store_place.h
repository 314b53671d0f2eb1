// Where the store in use is.
#pragma once

#include <string>

namespace fendrel::store {

// The variable FENDREL_STORE (a full path), else Fendrel\store.db in the user's local application data; where there is none
// yet, the one in the roaming application data that earlier programs made. The folder Fendrel is made when missing. Empty
// when the user has no such folder.
std::wstring storeInUse();

// Empty where it is not set.
std::wstring environmentVariable(const wchar_t* name);

}  // namespace fendrel::store
