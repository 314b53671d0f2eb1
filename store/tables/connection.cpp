#include "connection.h"

#include <windows.h>

#include <algorithm>
#include <new>
#include <system_error>

#include "migrations.h"
#include "unicode.h"
#include "waiting.h"

namespace fendrel::store {

namespace {

// Only effective for an empty file.
constexpr const char* newFileSql = "PRAGMA page_size = 8192;";

constexpr const char* setUpSql =
    "PRAGMA synchronous = FULL;"  // a commit is on disk when it returns; NORMAL loses some in a power cut
    "PRAGMA foreign_keys = ON;"
    "PRAGMA secure_delete = ON;"  // overwrites deleted data, so that salvage cannot find it
    "PRAGMA temp_store = MEMORY;"
    "PRAGMA trusted_schema = OFF;";

}  // namespace

Connection::Connection(std::wstring path, Disk& disk) : path_(std::move(path)), contents_(path_, disk) {
  // The first use of these may allocate memory, which must not fail in the middle of a save.
  try {
    const std::lock_guard lock(mutex_);
    newGuid();
    now();
  } catch (const std::system_error&) {
    throw std::bad_alloc();
  }
  // A program that has just created the file still holds it for a moment. SQLite deletes the log of an empty file.
  std::uint64_t size = 0;
  waitWhileBusy([&] { size = disk.open(path_)->size(); });
  if (size > 0) createLogFiles(path_, disk);
  database_ = openDatabase(path_, disk, SQLITE_OPEN_READWRITE);
  // SQLite opens a file read-only if it may not write.
  if (sqlite3_db_readonly(handle(), "main") == 1) {
    fail(Status::NoAccess, "The store '" + toUtf8(path_) + "' may not be written.");
  }
  setUp();
}

void Connection::setUp() {
  waitForOthers();
  // Plans must not depend on bound values: otherwise SQLite prepares some statements again for each use.
  sqlite3_db_config(handle(), SQLITE_DBCONFIG_ENABLE_QPSG, 1, nullptr);
  refuseForeignDatabase(*this);
  execute(newFileSql);
  // If several programs change the mode at once, they can get SQLITE_BUSY without a call of the busy handler.
  waitWhileBusy([&] { execute("PRAGMA journal_mode = WAL"); });
  createLogFiles(path_, disk());
  execute(setUpSql);
}

int Connection::waitWhileLocked(void* connection, int attempt) noexcept {
  auto& self = *static_cast<Connection*>(connection);
  const ULONGLONG time = GetTickCount64();
  if (attempt == 0) self.busySince_ = time;
  if (time - self.busySince_ > busyTimeout) return 0;
  // Short pauses of different lengths: writers take turns in milliseconds and must not collide again and again.
  Sleep(static_cast<DWORD>(1 + std::min(attempt, 10) + (time ^ GetCurrentThreadId()) % 4));
  return 1;
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

void Connection::setLastError(EngineError failure) {
  const std::lock_guard lock(errorMutex_);
  lastError_ = std::move(failure);
}

EngineError Connection::lastError() const {
  const std::lock_guard lock(errorMutex_);
  return lastError_;
}

Transaction::Transaction(Connection& connection, Kind kind) : connection_(connection), kind_(kind) {
  Query(connection.statement(kind == Write ? "BEGIN IMMEDIATE" : "BEGIN")).run();
}

Transaction::~Transaction() {
  if (!open_) return;
  // Some failures have rolled back already; then ROLLBACK fails, which is harmless.
  sqlite3_exec(connection_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
  Query(connection_.statement("COMMIT")).run();
  open_ = false;
  if (kind_ == Write) ++connection_.ownCommits_;
}

}  // namespace fendrel::store
