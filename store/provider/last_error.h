// GetLastError for every object.
#pragma once

#include "mapi_interfaces.h"
#include "origin.h"

namespace fendrel::provider {

// A MAPIERROR with the origin's last error text, if the origin's last failure was `result`; else null.
HRESULT lastError(const store::Origin& origin, HRESULT result, ULONG flags, LPMAPIERROR* error);

}  // namespace fendrel::provider
