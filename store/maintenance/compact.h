// Compacting an open store. For store/maintenance and its tests only.
#pragma once

#include "connection.h"
#include "maintenance.h"

namespace fendrel::store {

// Throws EngineError; Busy: nothing was changed.
CompactResult compact(Connection& connection);

}  // namespace fendrel::store
