// One connection to a store's database, and the folder of content files beside it. For the engine and store/maintenance.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "content_folder.h"
#include "database.h"
#include "disk.h"
#include "engine_error.h"
#include "light_mutex.h"
#include "message_checksum.h"
#include "open_database.h"
#include "sqlite_statement.h"

namespace fendrel::store {

class Connection {
 public:
  // Opens an existing file and configures the connection. Throws EngineError.
  Connection(std::wstring path, Disk& disk);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // A cached statement; `sql` must be static.
  Statement& statement(const char* sql);

  // For messages of this database; requires the schema.
  MessageChecksum& messageChecksum();

  // Runs any number of statements, not cached.
  void execute(const std::string& sql) { store::execute(handle(), sql); }

  sqlite3* handle() noexcept { return database_.get(); }
  Disk& disk() noexcept { return contents_.disk(); }
  const std::wstring& path() const noexcept { return path_; }
  ContentFolder& contents() noexcept { return contents_; }

  // Makes statements wait for other programs, at most for busyTimeout.
  void waitForOthers() noexcept { sqlite3_busy_handler(handle(), waitWhileLocked, this); }

  // Counts changes committed by this connection; PRAGMA data_version counts those of others.
  std::uint64_t ownCommits() const noexcept { return ownCommits_; }

  void setLastError(EngineError failure);
  EngineError lastError() const;

  // Locks the connection.
  std::recursive_mutex& mutex() noexcept { return mutex_; }

 private:
  friend class Transaction;

  void setUp();
  static int waitWhileLocked(void* connection, int attempt) noexcept;

  std::wstring path_;
  ContentFolder contents_;
  std::recursive_mutex mutex_;
  DatabaseHandle database_;
  std::unordered_map<const char*, std::unique_ptr<Statement>> statements_;
  std::unique_ptr<MessageChecksum> messageChecksum_;
  std::uint64_t ownCommits_ = 0;
  unsigned long long busySince_ = 0;
  mutable LightMutex errorMutex_;
  EngineError lastError_{Status::Ok, {}};
};

// Rolls back unless committed. Must not be nested.
class Transaction {
 public:
  enum Kind { Read, Write };
  Transaction(Connection& connection, Kind kind);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // Returns when the changes are on disk.
  void commit();

 private:
  Connection& connection_;
  Kind kind_;
  bool open_ = true;
};

// Runs a call of the engine under its lock and converts EngineError to its status.
template <class Work>
Status guarded(Database& database, Work&& work) {
  Connection& connection = database.connection();
  const std::lock_guard lock(connection.mutex());
  try {
    work(connection);
    return Status::Ok;
  } catch (EngineError& error) {
    const Status status = error.status;
    connection.setLastError(std::move(error));
    return status;
  }
}

}  // namespace fendrel::store
