// The engine's answers as MAPI's.
#pragma once

#include "mapi_interfaces.h"
#include "status.h"

namespace fendrel::provider {

HRESULT toResult(store::Status status) noexcept;

}  // namespace fendrel::provider
