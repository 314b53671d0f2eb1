// GetLastError for every object.
#pragma once

#include "database.h"
#include "mapi_interfaces.h"

namespace fendrel::provider {

// A MAPIERROR with the store's last words when it was the store that answered `result` last; else null, because then
// the code says all there is to say.
HRESULT lastError(const store::Database* database, HRESULT result, ULONG flags, LPMAPIERROR* error);

}  // namespace fendrel::provider
