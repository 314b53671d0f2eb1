// SQLite's write-ahead log as the checked layer reads and writes it. For the engine's own files only.
//
// Reading: a frame's page is compared with the log's own checksum, which SQLite does in recovery alone.
// Writing: SQLite writes each frame as two small pieces, one after the other; here they are gathered and written as one
// before the log is flushed, read or measured. Nobody looks for frames of a transaction before its commit, and a commit
// flushes the log.
// Room: a log that grows with each commit costs more to flush than one that is written over, since the disk notes its new
// length and blocks each time. So the log may be given its usual length at once, and where SQLite cuts it to nothing it
// keeps that length: only its header is replaced, by words that make it an empty log to every program.
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <set>
#include <string_view>
#include <vector>

namespace fendrel::store {

// What stands in the place of a header in a log that was cut to nothing and kept its room.
constexpr std::string_view emptyLogMark = "Fendrel: this log holds nothing\n";
static_assert(emptyLogMark.size() == 32);

class CheckedLog {
public:
  // The file of the layer below; it outlives this object.
  explicit CheckedLog(sqlite3_file* file) : file_(file) {}

  // SQLite's result codes. A page that does not match its frame's checksum is SQLITE_IOERR_DATA.
  int read(void* into, int count, sqlite3_int64 at);
  int write(const void* bytes, int count, sqlite3_int64 at);  // throws std::bad_alloc

  // Hands what was gathered to the layer below. What cannot be written is dropped: it belongs to a transaction that
  // fails by that, and must not turn up later.
  int writeGathered();

  // To cut it to 0 leaves the room and no frames in it.
  int cut(sqlite3_int64 size);

  // Bytes that stay, from now on.
  void setRoom(sqlite3_int64 bytes) { room_ = bytes; }

  // Makes the log as long as its room, and flushes it. The caller has the write lock.
  int makeRoom();  // throws std::bad_alloc

private:
  int writeBelow(const void* bytes, sqlite3_int64 count, sqlite3_int64 at);
  int readBelow(void* into, int count, sqlite3_int64 at);
  bool frameMatches(const std::byte* page, sqlite3_int64 frame);
  bool isOfThisByteOrder();

  sqlite3_file* file_;
  sqlite3_int64 room_ = 0;
  std::vector<std::byte> gathered_;
  sqlite3_int64 gatheredAt_ = 0;           // where in the file
  sqlite3_int64 frameHeader_ = -1;         // the frame header that was written last
  std::set<sqlite3_int64> rewritten_;      // frames whose header has no checksum of their page until the commit
};

}  // namespace fendrel::store
