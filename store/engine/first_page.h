// What a new database begins with. For the engine's own files only.
#pragma once

#include "property.h"

namespace fendrel::store {

// A database without tables: one page with its checksum, in the mode of the write-ahead log, marked as ours.
// Throws EngineError.
Bytes firstPage();

}  // namespace fendrel::store
