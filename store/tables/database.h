// An open store file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine_error.h"
#include "ids.h"

namespace fendrel::store {

class Connection;
class Disk;

// One connection to the database file and to the folder of content files beside it ("<file>.files").
// Threads: one object may be used by any number of threads at once; each call locks it for its duration
// (waiting for the disk included). Processes: any number may have the same file open.
// Every call that changes something is one transaction: durable when it returns Ok, without effect otherwise.
// Lifetime: ContentWriters must not outlive their Database, ContentReaders may.
class Database {
 public:
  // Opens the file, creates it (readable by its owner only) and its folders if missing, and upgrades an older file to
  // the current version. `path` is a full path of any length (UTF-16; "\\?\" is added if needed). On failure `opened`
  // is empty and `error` describes it in one English sentence (UTF-8). NewerVersion, NoAccess, NotEnoughDisk, Busy,
  // OnNetwork, Corrupt (also: not a store of this program), Failed.
  static Status open(const std::wstring& path, std::unique_ptr<Database>& opened, std::string& error);

  // Like open, but a missing file is NotFound and nothing is created.
  static Status openExisting(const std::wstring& path, std::unique_ptr<Database>& opened, std::string& error);

  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // The full path with which it was opened.
  const std::wstring& path() const noexcept;

  // Status and text of the last failed call of any thread; a success does not clear it. Ok: none has failed.
  EngineError lastFailure() const;
  std::string lastError() const { return lastFailure().text; }
  void noteFailure(EngineError failure);  // for users of the database

  // Increases whenever this or another process commits a change; equal values mean no change.
  Status changeCounter(std::uint64_t& counter);

  // For the engine's own files.
  Connection& connection() noexcept { return *connection_; }

 private:
  friend Status openOnDisk(const std::wstring&, Disk&, bool, std::unique_ptr<Database>&, std::string&);
  explicit Database(std::unique_ptr<Connection> connection);
  std::unique_ptr<Connection> connection_;
};

// How long a call waits for other processes before it returns Busy, in milliseconds.
constexpr int busyTimeout = 10'000;

}  // namespace fendrel::store
