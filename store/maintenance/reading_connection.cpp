#include "reading_connection.h"

#include <windows.h>

#include "database.h"
#include "database_on_disk.h"
#include "log_frames.h"
#include "migrations.h"
#include "page_checksums.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

// A path in the form in which SQLite takes options with it.
std::string uriOf(const std::wstring& path) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string uri = "file:";
  for (const char c : toUtf8(path)) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.';
    const auto code = static_cast<unsigned char>(c);
    if (plain) {
      uri += c;
    } else {
      uri += {'%', digits[code >> 4], digits[code & 15]};
    }
  }
  return uri;
}

int latestVersion() { return schemaMigrations().back().version; }

}  // namespace

bool isDamage(const EngineError& error) noexcept { return error.status != Status::Busy; }

std::uint64_t fileSize(Disk& disk, const std::wstring& path) {
  return disk.exists(path) ? disk.open(path)->size() : 0;
}

ReadingConnection::ReadingConnection(const std::wstring& path, Disk& disk) : path_(fullStorePath(path)), disk_(disk) {
  if (!disk.exists(path_)) fail(Status::NotFound, "There is no store '" + toUtf8(path_) + "'.");
  if (fileSize(disk, path_) == 0) fail(Status::Corrupt, "The file '" + toUtf8(path_) + "' is empty: it is no store.");
  try {
    createLogFiles();
    open(toUtf8(path_), 0);
    readVersion();
  } catch (const EngineError& error) {
    if (error.status != Status::NoAccess) throw;
    openUnchanging();
    readVersion();
  }
}

ReadingConnection::ReadingConnection(const std::wstring& path, Disk& disk, Empty)
    : path_(fullStorePath(path)), disk_(disk), isEmpty_(true) {
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(":memory:", &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY, nullptr);
  database_.reset(database);
  checkSqlite(code, database, "Making an empty store");
  sqlite3_extended_result_codes(database, 1);
  const std::string pageSize = "PRAGMA page_size = " + std::to_string(databasePageSize);  // so tables lie as in a file
  checkSqlite(sqlite3_exec(database, pageSize.c_str(), nullptr, nullptr, nullptr), database, "Making an empty store");
  for (const Migration& migration : schemaMigrations()) {
    checkSqlite(sqlite3_exec(database, migration.sql, nullptr, nullptr, nullptr), database, "Making an empty store");
  }
  version_ = latestVersion();
}

// SQLite would make them readable by others. They are empty, and stay as they do behind everyone who opens a store.
void ReadingConnection::createLogFiles() {
  for (const wchar_t* ending : {L"-wal", L"-shm"}) {
    if (!disk_.exists(path_ + ending)) disk_.createPrivateFile(path_ + ending);
  }
}

void ReadingConnection::open(const std::string& name, int flags) {
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &database,
                                   SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE | flags,
                                   checkedLayer(disk_.sqliteLayer()));
  database_.reset(database);
  checkSqlite(code, database, "Opening the store");
  sqlite3_busy_handler(database, waitWhileBusy, nullptr);
  // The log is neither emptied nor deleted when this connection is the last one to close.
  sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  int keepLog = 1;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_PERSIST_WAL, &keepLog);
  checkSqlite(sqlite3_exec(database,
                           "PRAGMA query_only = ON; PRAGMA trusted_schema = OFF; PRAGMA cell_size_check = ON;"
                           "PRAGMA cache_size = -8192;",
                           nullptr, nullptr, nullptr),
              database, "Opening the store");
}

// The index of the log cannot be made beside the store. Without a log none is needed.
void ReadingConnection::openUnchanging() {
  if (!isLogEmpty(disk_, path_)) {
    fail(Status::NoAccess, "The store '" + toUtf8(path_) +
                               "' cannot be read where it is: its log holds changes, and nothing may be written beside "
                               "it. Copy the store with everything whose name begins alike to another place first.");
  }
  open(uriOf(path_) + "?immutable=1", SQLITE_OPEN_URI);
}

void ReadingConnection::readVersion() {
  const std::int64_t application = number("PRAGMA application_id");
  version_ = static_cast<int>(number("PRAGMA user_version"));
  if (application != applicationId) {
    fail(Status::Corrupt, "The file '" + toUtf8(path_) + "' is no message store, or its first page is damaged.");
  }
  if (version_ > latestVersion()) {
    fail(Status::NewerVersion, "The store was written by a newer version of this program: it has version " +
                                   std::to_string(version_) + ", this program knows versions up to " +
                                   std::to_string(latestVersion()) + ". Install the newer version.");
  }
}

int ReadingConnection::waitWhileBusy(void*, int attempt) noexcept {
  constexpr int pause = 20;
  if (attempt * pause > busyTimeout) return 0;
  Sleep(pause);
  return 1;
}

void ReadingConnection::keepMoment() {
  if (!sqlite3_get_autocommit(handle())) return;
  checkSqlite(sqlite3_exec(handle(), "BEGIN", nullptr, nullptr, nullptr), handle(), "Reading the store");
  number("SELECT count(*) FROM sqlite_schema");
}

void ReadingConnection::endMoment() noexcept {
  if (!sqlite3_get_autocommit(handle())) sqlite3_exec(handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

std::string ReadingConnection::indexRows(const std::string& table, const std::string& index) const {
  return isEmpty_ ? "rows_of_" + index : "main." + table + " INDEXED BY " + index;
}

void ReadingConnection::noteIncomplete(const std::string& table, const std::string& why) {
  std::string& all = incomplete_[table];
  all += (all.empty() ? "" : "; ") + why;
}

bool ReadingConnection::isIncomplete(const std::string& table, std::string& why) const {
  const auto found = incomplete_.find(table);
  if (found == incomplete_.end()) return false;
  why = found->second;
  return true;
}

Statement ReadingConnection::statement(const char* sql) { return Statement(handle(), sql, false); }

std::int64_t ReadingConnection::number(const char* sql) {
  Statement asked = statement(sql);
  if (!asked.step()) fail(Status::Corrupt, "The store does not answer.");
  return asked.integer(0);
}

}  // namespace fendrel::store
