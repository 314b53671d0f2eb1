// Files in a store's folder that no message needs. For store/maintenance only.
#pragma once

#include <cstdint>

#include "reading_connection.h"

namespace fendrel::store {

struct Leftovers {
  std::uint64_t files = 0, bytes = 0;
};

// Content files that the database does not know, as it is when asked, and that nobody is saving.
Leftovers unknownContentFiles(ReadingConnection& store);

// Files of deleted contents, which go when their time has come, and files that were being written.
Leftovers waitingFiles(ReadingConnection& store);

}  // namespace fendrel::store
