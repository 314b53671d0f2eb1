// How much of the write-ahead log stays on the disk (checked_log.h). For the engine and store/maintenance only.
#pragma once

#include <cstdint>

struct sqlite3;

namespace fendrel::store {

// So many bytes stay from now on when this connection cuts the log to nothing.
void setLogRoom(sqlite3* database, std::uint64_t bytes);

// Sets the room, makes the log as long as it, and lets the log begin anew before it outgrows it. No more than a help:
// where the disk is full, or another process writes, nothing is made, and a later opening tries again. The connection has
// no busy handler and no transaction.
void makeLogRoom(sqlite3* database, std::uint64_t bytes);

}  // namespace fendrel::store
