// Where the database is.
#pragma once

#include <memory>
#include <string>

#include "database.h"
#include "mapi.h"

namespace fendrel::provider {

// The variable FENDREL_STORE (a full path), else Fendrel\store.db in the user's roaming application data. Asked anew
// for every logon. Empty when the user has no such folder.
std::wstring storeFile();

// Opens it, creating it and the folder Fendrel when missing.
HRESULT openStoreFile(std::shared_ptr<store::Database>& database);

}  // namespace fendrel::provider
