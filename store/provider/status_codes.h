// The engine's answers as MAPI's.
#pragma once

#include "mapi.h"
#include "status.h"

namespace fendrel::provider {

HRESULT toResult(store::Status status) noexcept;

}  // namespace fendrel::provider
