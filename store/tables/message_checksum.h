// The checksum of a message, over its row and all rows that belong to it. For the engine and store/maintenance only.
// XXH64 (seed 0) over these values, in this order:
//   from its row in `message`: guid, associated, size, attachment_count, created, modified, search_key, revision;
//   from its rows in `attachment`, by number: number, size;
//   from its rows in `message_property`, by part and id: part, id, type, size, value, content.
// Each value is a byte with SQLite's storage class (1 integer, 2 real, 3 text, 4 blob, 5 NULL), then 8 bytes with the
// number, or with the length of the text or blob, whose bytes follow. Numbers have the low byte first. Not included:
// folder and read state, which change without a save, and the bytes of contents, which have their own checksums.
#pragma once

#include <cstdint>

#include "sqlite_statement.h"

namespace fendrel::store {

// The first version of the schema with message checksums.
constexpr int versionWithChecksums = 3;

class MessageChecksum {
 public:
  // Prepares its statements. The tables must be those of version 3; temporary tables of the same names may replace
  // them.
  explicit MessageChecksum(sqlite3* database);

  // Computed from the current rows; `message` is the row number. Throws EngineError: NotFound (no such row).
  std::uint64_t of(std::int64_t message);

  // True if it equals the one in the message's row, or if the row has none. Throws like of().
  bool matches(std::int64_t message);

 private:
  void takeRow(std::int64_t message);
  std::uint64_t sumOfAllRows(std::int64_t message);

  Statement message_, attachments_, properties_;
  Bytes bytes_;
  bool hasSum_ = false;
  std::uint64_t sum_ = 0;  // from the row
};

}  // namespace fendrel::store
