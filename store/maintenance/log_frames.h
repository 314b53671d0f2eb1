// SQLite's write-ahead log, read without SQLite. For store/maintenance only.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "disk.h"

namespace fendrel::store {

// Where in the log the newest committed form of each page is.
struct LogFrames {
  std::map<std::uint32_t, std::uint64_t> pages;  // number, place of its bytes in the file
  std::uint32_t pageCount = 0;                   // of the database after the last commit; 0: the log holds none

  // Frames of saved changes that a recovery does not reach, because one before them, or the log's header, is damaged.
  // Frames of a commit that was never finished are none.
  std::uint32_t behindDamage = 0;
};

// As a recovery would read it: up to the last commit before the first frame that does not match its checksum. Throws
// EngineError where the file cannot be read.
LogFrames readLogFrames(DiskFile& log, std::size_t pageSize);

// The same for the log of the store at `path`; nothing where there is none.
LogFrames readLogFrames(Disk& disk, const std::wstring& path);

// True if the log of the store at `path` holds nothing, or there is none. Throws EngineError as above.
bool isLogEmpty(Disk& disk, const std::wstring& path);

std::string wordsOfLostFrames(std::uint32_t frames);

}  // namespace fendrel::store
