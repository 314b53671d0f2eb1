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
  // Opens the file, creating it (readable by its owner only) and its folders when missing, and brings an older
  // file to the present version. `path` is a full path of any length (UTF-16; "\\?\" is added where needed).
  // On failure `opened` is empty and `error` says what happened in one English sentence (UTF-8).
  // NewerVersion, NoAccess, NotEnoughDisk, Busy, OnNetwork, Corrupt (also: no store of this program), Failed.
  static Status open(const std::wstring& path, std::unique_ptr<Database>& opened, std::string& error);

  // Like open, but a file that does not exist is NotFound and nothing is created.
  static Status openExisting(const std::wstring& path, std::unique_ptr<Database>& opened, std::string& error);

  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // The full path it was opened with.
  const std::wstring& path() const noexcept;

  // What the last failed call of any thread answered and said; never cleared by a success. Ok: none has failed.
  EngineError lastFailure() const;
  std::string lastError() const { return lastFailure().text; }
  void noteFailure(EngineError failure);  // for what is built on it

  // Grows whenever this or another process commits a change; equal values mean that nothing changed.
  Status changeCounter(std::uint64_t& counter);

  // For the engine's own files.
  Connection& connection() noexcept { return *connection_; }

 private:
  friend Status openOnDisk(const std::wstring&, Disk&, bool, std::unique_ptr<Database>&, std::string&);
  explicit Database(std::unique_ptr<Connection> connection);
  std::unique_ptr<Connection> connection_;
};

// How long a call waits for other processes before it answers Busy, in milliseconds.
constexpr int busyTimeout = 10'000;

}  // namespace fendrel::store
