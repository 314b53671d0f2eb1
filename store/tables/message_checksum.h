// The checksum of a message, over its row and all rows that belong to it. For the engine and store/maintenance only.
//
// XXH64 (seed 0) over these values, one after another:
//   of its row in `message`: guid, associated, size, attachment_count, created, modified, search_key, revision;
//   of its rows in `attachment`, by number: number, size;
//   of its rows in `message_property`, by part and id: part, id, type, size, value, content.
// Each value is a byte with SQLite's storage class (1 integer, 2 real, 3 text, 4 blob, 5 NULL), then 8 bytes with the
// number, or with the length of the text or blob, whose bytes follow. Numbers have the low byte first. Left out are the
// message's folder and its read state, which change without a save, and the bytes of contents, which have their own.
#pragma once

#include <cstdint>

#include "sqlite_statement.h"

namespace fendrel::store {

// The first version of the schema whose messages have one.
constexpr int versionWithChecksums = 3;

class MessageChecksum {
 public:
  // Prepares its statements. The tables are those of version 3; temporary tables of their names stand for them.
  explicit MessageChecksum(sqlite3* database);

  // Of the rows as they are now; `message` is the row number. Throws EngineError: NotFound (no such row).
  std::uint64_t of(std::int64_t message);

  // True if it is the one that the message's row carries, or if that row carries none. Throws as above.
  bool matches(std::int64_t message);

 private:
  void takeRow(std::int64_t message);
  std::uint64_t sumOfAllRows(std::int64_t message);

  Statement message_, attachments_, properties_;
  Bytes bytes_;
  bool hasSum_ = false;
  std::uint64_t sum_ = 0;  // as the row has it
};

}  // namespace fendrel::store
