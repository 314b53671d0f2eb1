// Checksums of the database's pages, kept where SQLite reads and writes its files. For the engine's own files only.
//
// Each page of a store made with them ends with 16 reserved bytes: "FndlPage", then XXH64 of the page before its last
// 8 bytes, mixed with the page's number so that a page in another's place is damage too. They are written with each
// page of the database file and compared whenever a whole page is read from it.
// A page in the write-ahead log has the log's own checksum, which SQLite compares in recovery alone; here it is
// compared with each page that is read, thus also before a page goes from the log into the database.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

struct sqlite3;

namespace fendrel::store {

class Connection;

constexpr int databasePageSize = 16384;
constexpr int reservedPageBytes = 16;

// The SQLite file layer that does it, above the layer of that name. A page that does not match is SQLITE_IOERR_DATA.
// Databases without the reserved bytes are read and written as they are. Made at the first call; lasts as long as the
// program. Throws std::bad_alloc, EngineError where there is no such layer.
const char* checkedLayer(const char* below);

// A file control of that layer: from now on the connection keeps its locks for a moment (kept_locks.h). The argument is
// the database's path, a char*.
constexpr int keepLocksControl = 0x466E6401;

// File controls of that layer for a write-ahead log (checked_log.h): how many bytes of it stay when it is cut to nothing,
// an sqlite3_int64*; and to make it as long as that, without an argument, under the write lock.
constexpr int keepLogRoomControl = 0x466E6402;
constexpr int makeLogRoomControl = 0x466E6403;

// Puts tag and checksum into the reserved bytes of a page of databasePageSize; pages are numbered from 1.
void stampPage(std::span<std::byte> page, std::uint32_t number);

// True if a page of databasePageSize has the checksum of what it holds.
bool matchesPage(std::span<const std::byte> page, std::uint32_t number);

struct PageReport {
  bool hasChecksums = false;         // false: an old store, nothing could be compared
  std::uint32_t pages = 0;           // of the database file, as of its last checkpoint
  std::vector<std::uint32_t> damaged;  // their numbers, from 1
};

// Reads every page of the database file. Others may post meanwhile. Call it outside a transaction.
// Throws EngineError where the file cannot be read at all.
PageReport readEveryPage(Connection& connection);
PageReport readEveryPage(sqlite3* database);  // opened with the checked layer

}  // namespace fendrel::store
