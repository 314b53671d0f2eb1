// Where the store in use is.
#pragma once

#include <string>

namespace fendrel::store {

// The variable FENDREL_STORE (a full path), else Fendrel\store.db in the user's roaming application data; the folder
// Fendrel is made when missing. Empty when the user has no such folder.
std::wstring storeInUse();

}  // namespace fendrel::store
