#include "connection.h"

#include <windows.h>

#include <algorithm>
#include <new>
#include <system_error>

#include "first_page.h"
#include "log_room.h"
#include "migrations.h"
#include "page_checksums.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

constexpr const wchar_t* unfinishedEnding = L".new";
constexpr int chunkSize = 256 * 1024;  // the file grows by this, so that it stays in one piece

constexpr const char* setupSql =
    "PRAGMA synchronous = FULL;"  // a commit is on disk when it returns; NORMAL loses some in a power cut
    "PRAGMA foreign_keys = ON;"
    "PRAGMA secure_delete = ON;"  // free pages are written too, so that every page in the file has its checksum
    "PRAGMA temp_store = MEMORY;"
    "PRAGMA journal_size_limit = 67108864;"
    "PRAGMA trusted_schema = OFF;";

// Files are deleted after the commit, so the rows that named them are only noted here. A trigger of this connection
// alone: to others the function does not exist.
constexpr const char* noteDroppedFilesSql =
    "CREATE TEMP TRIGGER content_dropped AFTER DELETE ON main.content WHEN old.file IS NOT NULL BEGIN"
    "  SELECT note_dropped_file(old.file);"
    "END;";

std::wstring parentFolder(const std::wstring& path) { return path.substr(0, path.find_last_of(L"\\/")); }

// Creates the folders above a file, outermost first.
void createFolders(Disk& disk, const std::wstring& folder) {
  if (folder.empty() || disk.exists(folder + L"\\")) return;
  const auto separator = folder.find_last_of(L"\\/");
  if (separator != std::wstring::npos && separator > 2) createFolders(disk, folder.substr(0, separator));
  disk.createFolder(folder, false);
  // A store that survives a power cut must be found again.
  if (separator != std::wstring::npos) disk.flushFolder(folder.substr(0, separator));
}

// For what knows no busy handler.
template <class Work>
void waitingWhileBusy(Work&& work) {
  const ULONGLONG start = GetTickCount64();
  for (DWORD pause = 1;; pause = std::min<DWORD>(pause * 2, 50)) {
    try {
      work();
      return;
    } catch (const EngineError& error) {
      if (error.status != Status::Busy || GetTickCount64() - start > busyTimeout) throw;
    }
    Sleep(pause);
  }
}

}  // namespace

std::wstring hexText(const Guid& guid) {
  std::wstring text;
  for (const std::byte byte : guid.bytes) {
    text += L"0123456789abcdef"[static_cast<unsigned>(byte) >> 4];
    text += L"0123456789abcdef"[static_cast<unsigned>(byte) & 15];
  }
  return text;
}

Connection::Connection(std::wstring path, Disk& disk, bool mayCreate)
    : path_(std::move(path)), disk_(disk), mayCreate_(mayCreate) {
  firstUses();
  createFiles();
  open();
  setPragmas();
}

Connection::~Connection() {
  readyFiles_.clear();
  messageChecksum_.reset();
  statements_.clear();
  database_.reset();
  if (mark_) {
    mark_.reset();
    try {
      // Files that came back after a power cut would not be looked for without the mark.
      if (contentFilesWentAway_) disk_.flushFolder(contentFolder());
      if (!hasLeftovers_) disk_.remove(markPath_);
    } catch (...) {  // the next opening takes it for a crash and looks for left-overs once
    }
  }
}

// The first use of these may need memory, which must not be missing in the middle of a save.
void Connection::firstUses() {
  try {
    const std::lock_guard lock(mutex_);
    newGuid();
    now();
    checkedLayer(disk_.sqliteLayer());
  } catch (const std::system_error&) {
    throw std::bad_alloc();
  }
}

void Connection::createFiles() {
  if (disk_.exists(path_)) {
    // A process that has just created it lets go of it in a moment. An empty file is the user's: SQLite would delete
    // its log.
    std::uint64_t size = 0;
    waitingWhileBusy([&] { size = disk_.open(path_)->size(); });
    if (size > 0) createLogFiles();
    return;
  }
  if (!mayCreate_) fail(Status::NotFound, "There is no store '" + toUtf8(path_) + "'.");
  createFolders(disk_, parentFolder(path_));
  createStoreFile();
  createLogFiles();
  removeUnfinishedStores();
}

// Those of processes that died before theirs had its name.
void Connection::removeUnfinishedStores() {
  const std::wstring folder = parentFolder(path_), name = path_.substr(folder.size() + 1) + L"-";
  for (const auto& entry : disk_.list(folder)) {
    const std::wstring path = folder + L"\\" + entry.name;
    if (entry.name.starts_with(name) && entry.name.ends_with(unfinishedEnding) && disk_.isAbandoned(path)) {
      disk_.remove(path);
    }
  }
}

// Complete before it has its name: a power cut must not leave a file that no longer opens. SQLite's own journal would
// not help where the name of that journal is lost.
void Connection::createStoreFile() {
  const Bytes page = firstPage();
  const std::wstring temporary = path_ + L"-" + hexText(newGuid()) + unfinishedEnding;
  auto file = disk_.createPrivate(temporary);
  try {
    file->write(0, page);
    file->flush();
    file->rename(path_);
  } catch (const EngineError& error) {
    file.reset();
    disk_.remove(temporary);
    if (error.status != Status::AlreadyExists) throw;  // another process was quicker
  }
}

// SQLite would create them readable by others. Their directory entries must be on disk before the first commit
// relies on them; they are never deleted by us, so this is rare.
void Connection::createLogFiles() {
  if (disk_.exists(path_ + L"-wal") && disk_.exists(path_ + L"-shm")) return;
  disk_.createPrivateFile(path_ + L"-wal");
  disk_.createPrivateFile(path_ + L"-shm");
  disk_.flushFolder(parentFolder(path_));
}

void Connection::open() {
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(toUtf8(path_).c_str(), &database,
                                   SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
                                   checkedLayer(disk_.sqliteLayer()));
  database_.reset(database);
  checkSqlite(code, database, "Opening the store");
  // SQLite falls back to reading where it may not write.
  if (sqlite3_db_readonly(database, "main") == 1) {
    fail(Status::NoAccess, "The store '" + toUtf8(path_) + "' may not be written.");
  }
}

void Connection::setPragmas() {
  sqlite3* database = handle();
  sqlite3_busy_handler(database, waitWhileBusy, this);
  // Plans do not depend on the values bound: otherwise SQLite prepares some statements anew for each use.
  sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_QPSG, 1, nullptr);
  refuseForeignDatabase(*this);
  int chunk = chunkSize;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_CHUNK_SIZE, &chunk);
  // The log stays when the last connection closes: its directory entry was flushed once and for all.
  int keepLog = 1;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_PERSIST_WAL, &keepLog);
  // Both are without effect while the file has pages, until a VACUUM. In this order: the first resets the second.
  execute("PRAGMA page_size = " + std::to_string(databasePageSize));
  int reserved = reservedPageBytes;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_RESERVE_BYTES, &reserved);
  enterWal();
  createLogFiles();
  execute(setupSql);
  std::string path = toUtf8(path_);
  if (disk_.hasSlowLocks()) sqlite3_file_control(database, "main", keepLocksControl, path.data());
  sqlite3_busy_handler(database, nullptr, nullptr);
  makeLogRoom(database, disk_.logRoom());
  sqlite3_busy_handler(database, waitWhileBusy, this);
}

// Several processes that create the file at once can get SQLITE_BUSY here without the busy handler being asked.
void Connection::enterWal() {
  waitingWhileBusy([&] { execute("PRAGMA journal_mode = WAL"); });
}

int Connection::waitWhileBusy(void* connection, int attempt) noexcept {
  auto& self = *static_cast<Connection*>(connection);
  const ULONGLONG time = GetTickCount64();
  if (attempt == 0) self.busySince_ = time;
  if (time - self.busySince_ > busyTimeout) return 0;
  // Short pauses of different lengths: writers take turns in milliseconds and must not march in step.
  Sleep(static_cast<DWORD>(1 + std::min(attempt, 10) + (time ^ GetCurrentThreadId()) % 4));
  return 1;
}

void Connection::noteDroppedFiles() {
  checkSqlite(sqlite3_create_function_v2(handle(), "note_dropped_file", 1, SQLITE_UTF8, this, noteDroppedFile, nullptr,
                                         nullptr, nullptr),
              handle(), "Preparing the store");
  execute(noteDroppedFilesSql);
}

Statement& Connection::statement(const char* sql) {
  auto& cached = statements_[sql];
  if (!cached) cached = std::make_unique<Statement>(handle(), sql, true);
  return *cached;
}

MessageChecksum& Connection::messageChecksum() {
  if (!messageChecksum_) messageChecksum_ = std::make_unique<MessageChecksum>(handle());
  return *messageChecksum_;
}

void Connection::execute(const std::string& sql) {
  checkSqlite(sqlite3_exec(handle(), sql.c_str(), nullptr, nullptr, nullptr), handle(), "Setting up the store");
}

std::wstring Connection::contentFolder() const { return path_ + L".files"; }
std::wstring Connection::spoolFolder() const { return contentFolder() + L"\\tmp"; }

void Connection::prepareContentFolders() {
  const std::lock_guard lock(contentFoldersMutex_);
  if (mark_) return;
  if (!disk_.exists(contentFolder())) {
    disk_.createFolder(contentFolder(), true);
    disk_.flushFolder(parentFolder(path_));
  }
  disk_.createFolder(spoolFolder(), true);
  markPath_ = spoolFolder() + L"\\" + hexText(newGuid()) + L".open";
  mark_ = disk_.create(markPath_);
  disk_.flushFolder(spoolFolder());
  disk_.flushFolder(contentFolder());
}

void Connection::noteDroppedFile(sqlite3_context* context, int, sqlite3_value** values) noexcept {
  auto& self = *static_cast<Connection*>(sqlite3_user_data(context));
  try {
    const auto* name = sqlite3_value_text(values[0]);
    if (!name) throw std::bad_alloc();
    self.droppedFiles_.emplace_back(name, name + sqlite3_value_bytes(values[0]));
  } catch (...) {
    sqlite3_result_error_nomem(context);
  }
}

// A file that cannot be deleted now is unreferenced and goes at a later opening.
void Connection::removeDroppedFiles() noexcept {
  if (!droppedFiles_.empty()) contentFilesWentAway_ = true;
  for (const auto& file : droppedFiles_) {
    try {
      if (!disk_.remove(contentFolder() + L"\\" + file)) noteLeftover();
    } catch (...) {
      noteLeftover();
    }
  }
  droppedFiles_.clear();
}

void Connection::setLastError(std::string text) {
  const std::lock_guard lock(errorMutex_);
  lastError_ = std::move(text);
}

std::string Connection::lastError() const {
  const std::lock_guard lock(errorMutex_);
  return lastError_;
}

Transaction::Transaction(Connection& connection, Kind kind) : connection_(connection), kind_(kind) {
  connection.droppedFiles_.clear();
  Query(connection.statement(kind == Write ? "BEGIN IMMEDIATE" : "BEGIN")).run();
}

Transaction::~Transaction() {
  if (!open_) return;
  connection_.droppedFiles_.clear();
  // Some failures have rolled back already; a ROLLBACK is then refused, which is fine.
  sqlite3_exec(connection_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
  // A file to be deleted leaves traces if the process dies before it is: the mark makes the next opening look.
  if (!connection_.droppedFiles_.empty()) connection_.prepareContentFolders();
  Query(connection_.statement("COMMIT")).run();
  open_ = false;
  if (kind_ == Write) {
    ++connection_.ownCommits_;
    connection_.removeDroppedFiles();
  }
}

}  // namespace fendrel::store
