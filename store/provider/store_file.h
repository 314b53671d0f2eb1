// Where the database is.
#pragma once

#include <memory>
#include <string>

#include "database.h"
#include "mapi_interfaces.h"

namespace fendrel::provider {

// Asked anew for every logon; see store_place.h.
std::wstring storeFile();

// Opens it, creating it and the folder Fendrel when missing.
HRESULT openStoreFile(std::shared_ptr<store::Database>& database);

}  // namespace fendrel::provider
