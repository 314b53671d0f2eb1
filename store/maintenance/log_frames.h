// SQLite's write-ahead log, read without SQLite. For store/maintenance only.
#pragma once

#include <cstdint>
#include <map>
#include <span>

#include "disk.h"

namespace fendrel::store {

// Where in the log the newest committed form of each page is.
struct LogFrames {
  std::map<std::uint32_t, std::uint64_t> pages;  // number, place of its bytes in the file
  std::uint32_t pageCount = 0;                   // of the database after the last commit; 0: the log holds none
  std::uint32_t behindDamage = 0;                // frames of this log behind the first one that does not match
};

// As a recovery would read it: up to the last commit before the first frame that does not match its checksum. Throws
// EngineError where the file cannot be read.
LogFrames readLogFrames(DiskFile& log, std::size_t pageSize);

}  // namespace fendrel::store
