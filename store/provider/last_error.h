// GetLastError for every object.
#pragma once

#include "mapi_interfaces.h"
#include "origin.h"

namespace fendrel::provider {

// A MAPIERROR with the origin's last words when it was that which answered `result` last; else null, because then
// the code says all there is to say.
HRESULT lastError(const store::Origin& origin, HRESULT result, ULONG flags, LPMAPIERROR* error);

}  // namespace fendrel::provider
