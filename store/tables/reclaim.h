// Deleting content files that no message needs any more.
#pragma once

#include <cstdint>

namespace fendrel::store {

class Connection;

// At every opening: temporary files of programs that died, and files whose content was deleted longer ago than graceTime.
// Looks into two nearly empty places. Files that are still read, or cannot be deleted, are left for later. No failure but
// want of memory leaves it.
void reclaimLeftovers(Connection& connection);

struct Reclaimed {
  std::uint64_t files = 0, bytes = 0;
};

// When compacting: of these all, however young, and also the files that no row names and that are older than graceTime, as
// a program leaves one that dies between naming it and its commit. Compares the whole folder with the database. Nothing
// where somebody still reads an older state. Throws EngineError.
Reclaimed reclaimEverything(Connection& connection);

}  // namespace fendrel::store
