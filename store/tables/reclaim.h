// Deletes content files that no message needs.
#pragma once

#include <cstdint>

namespace fendrel::store {

class Connection;

// For every open: deletes temporary files of killed programs, and files whose content was deleted longer ago than
// graceTime. Fast, because both lists are nearly empty. Files that have readers or cannot be deleted are left for
// later. Throws only std::bad_alloc.
void reclaimLeftovers(Connection& connection);

struct Reclaimed {
  std::uint64_t files = 0, bytes = 0;
};

// For compacting: deletes all of these, of any age, and files older than graceTime that no row names; a program leaves
// one if it dies between the rename and the commit. Compares the whole folder with the database. Does nothing while a
// reader sees an older state. Throws EngineError.
Reclaimed reclaimEverything(Connection& connection);

}  // namespace fendrel::store
