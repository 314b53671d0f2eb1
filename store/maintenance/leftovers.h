// Orphans: files in a store's folder that no message needs. For store/maintenance only.
#pragma once

#include <cstdint>

#include "reading_connection.h"

namespace fendrel::store {

struct Leftovers {
  std::uint64_t files = 0, bytes = 0;
};

// Content files that no row names at the moment and that nobody is saving.
Leftovers unknownContentFiles(ReadingConnection& store);

// Files of deleted contents, to be deleted later, and temporary files.
Leftovers waitingFiles(ReadingConnection& store);

}  // namespace fendrel::store
