// The engine's one connection to SQLite. For the engine's own files only.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "database.h"
#include "disk.h"
#include "engine_error.h"
#include "light_mutex.h"
#include "message_checksum.h"
#include "ready_files.h"
#include "sqlite_statement.h"

namespace fendrel::store {

class Connection {
public:
  // The one place that opens a database and sets its pragmas. Throws EngineError.
  // `mayCreate` false: a missing file is NotFound.
  Connection(std::wstring path, Disk& disk, bool mayCreate);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // From now on content files go when the transaction that deletes their rows is committed. Once, when the schema is
  // there.
  void noteDroppedFiles();

  // The cached statement of a text that lives as long as the program.
  Statement& statement(const char* sql);

  // For messages of this database, once the schema is there.
  MessageChecksum& messageChecksum();

  // Any number of statements, not cached.
  void execute(const std::string& sql);

  sqlite3* handle() noexcept { return database_.get(); }
  Disk& disk() noexcept { return disk_; }
  const std::wstring& path() const noexcept { return path_; }

  // Where content files are ("<path>.files") and where marks are ("<path>.files\tmp").
  std::wstring contentFolder() const;
  std::wstring spoolFolder() const;

  // Creates both when missing, and leaves a mark while this connection lives: a mark without a living owner tells
  // that a process died and that files may have been left over.
  void prepareContentFolders();

  ReadyFiles& readyFiles() noexcept { return readyFiles_; }

  // A content file was deleted. The mark stays until that is on disk.
  void noteContentFileWentAway() noexcept { contentFilesWentAway_ = true; }

  // A file could not be deleted: the mark stays for the next opening.
  void noteLeftover() noexcept { hasLeftovers_ = true; }

  // Changes committed by this connection; PRAGMA data_version tells those of others.
  std::uint64_t ownCommits() const noexcept { return ownCommits_; }

  void setLastError(std::string text);
  std::string lastError() const;

  // The lock of the whole connection.
  std::recursive_mutex& mutex() noexcept { return mutex_; }

private:
  friend class Transaction;
  struct Close {
    void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
  };

  void firstUses();
  void createFiles();
  void createStoreFile();
  void removeUnfinishedStores();
  void createLogFiles();
  void open();
  void setPragmas();
  void enterWal();
  static int waitWhileBusy(void* connection, int attempt) noexcept;
  static void noteDroppedFile(sqlite3_context* context, int count, sqlite3_value** values) noexcept;
  void removeDroppedFiles() noexcept;

  std::wstring path_;
  Disk& disk_;
  bool mayCreate_;
  std::recursive_mutex mutex_;
  std::unique_ptr<sqlite3, Close> database_;
  std::unordered_map<const char*, std::unique_ptr<Statement>> statements_;
  std::unique_ptr<MessageChecksum> messageChecksum_;
  std::vector<std::wstring> droppedFiles_;  // content files whose rows the present transaction deletes
  ReadyFiles readyFiles_{*this};
  LightMutex contentFoldersMutex_;
  std::unique_ptr<DiskFile> mark_;
  std::wstring markPath_;
  std::atomic<bool> contentFilesWentAway_ = false;
  std::atomic<bool> hasLeftovers_ = false;
  std::uint64_t ownCommits_ = 0;
  unsigned long long busySince_ = 0;
  mutable LightMutex errorMutex_;
  std::string lastError_;
};

// Rolls back unless committed. Nested use is a mistake of the engine.
class Transaction {
public:
  enum Kind { Read, Write };
  Transaction(Connection& connection, Kind kind);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // On disk when it returns. Content files whose rows are gone are deleted after it.
  void commit();

private:
  Connection& connection_;
  Kind kind_;
  bool open_ = true;
};

// 32 hexadecimal digits.
std::wstring hexText(const Guid& guid);

// The border of the engine: locks, runs, and turns an EngineError into its status.
template <class Work>
Status guarded(Database& database, Work&& work) {
  Connection& connection = database.connection();
  const std::lock_guard lock(connection.mutex());
  try {
    work(connection);
    return Status::Ok;
  } catch (EngineError& error) {
    connection.setLastError(std::move(error.text));
    return error.status;
  }
}

}  // namespace fendrel::store
