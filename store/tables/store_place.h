// The path of the store in use.
#pragma once

#include <string>

namespace fendrel::store {

// The variable FENDREL_STORE (a full path), else Fendrel\store.db in the user's local application data; if that does
// not exist, the one of earlier programs in the roaming application data. Creates the folder Fendrel if missing. Empty
// if the user has no such folder.
std::wstring storeInUse();

// Empty if it is not set.
std::wstring environmentVariable(const wchar_t* name);

}  // namespace fendrel::store
