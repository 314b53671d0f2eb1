#include "sqlite_statement.h"

#include <cstring>
#include <new>

#include "engine_error.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

// SQLite reports every system error but a full disk as an I/O error.
Status statusOfSystem(int error) {
  const Status status = statusOfWindows(static_cast<unsigned long>(error));
  return status == Status::NoAccess || status == Status::NotEnoughDisk ? status : Status::Failed;
}

}  // namespace

Status statusOfSqlite(int code) {
  switch (code) {
    case SQLITE_IOERR_NOMEM: throw std::bad_alloc();
    case SQLITE_CONSTRAINT_UNIQUE:
    case SQLITE_CONSTRAINT_PRIMARYKEY: return Status::AlreadyExists;
    case SQLITE_IOERR_CORRUPTFS: return Status::Corrupt;
    default: break;
  }
  switch (code & 0xFF) {
    case SQLITE_OK: return Status::Ok;
    case SQLITE_NOMEM: throw std::bad_alloc();
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL: return Status::Busy;
    case SQLITE_FULL: return Status::NotEnoughDisk;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB: return Status::Corrupt;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_AUTH:
    case SQLITE_CANTOPEN: return Status::NoAccess;
    case SQLITE_TOOBIG:
    case SQLITE_MISMATCH: return Status::Invalid;
    default: return Status::Failed;
  }
}

void checkSqlite(int code, sqlite3* database, const char* doing) {
  if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE) return;
  const int extended = database ? sqlite3_extended_errcode(database) : code;
  const int exact = (extended & 0xFF) == (code & 0xFF) ? extended : code;
  Status status = statusOfSqlite(exact);
  if (status == Status::Failed && database) status = statusOfSystem(sqlite3_system_errno(database));
  fail(status, std::string(doing) + " failed: " + (database ? sqlite3_errmsg(database) : sqlite3_errstr(code)) +
                   " (SQLite code " + std::to_string(exact) + ").");
}

Statement::Statement(sqlite3* database, std::string_view sql, bool keptLong) : database_(database) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()),
                                      keptLong ? SQLITE_PREPARE_PERSISTENT : 0, &statement, nullptr);
  statement_.reset(statement);
  checkSqlite(code, database, "Preparing a statement of the store");
}

void Statement::bindInteger(int parameter, std::int64_t value) {
  checkSqlite(sqlite3_bind_int64(statement_.get(), parameter, value), database_, "Binding a number");
}

void Statement::bind(int parameter, double value) {
  checkSqlite(sqlite3_bind_double(statement_.get(), parameter, value), database_, "Binding a number");
}

void Statement::bind(int parameter, std::string_view utf8) {
  // A null pointer would bind NULL, not empty text.
  checkSqlite(sqlite3_bind_text64(statement_.get(), parameter, utf8.data() ? utf8.data() : "", utf8.size(),
                                  SQLITE_STATIC, SQLITE_UTF8),
              database_, "Binding text");
}

void Statement::bindOwned(int parameter, std::string_view utf8) {
  checkSqlite(sqlite3_bind_text64(statement_.get(), parameter, utf8.data() ? utf8.data() : "", utf8.size(),
                                  SQLITE_TRANSIENT, SQLITE_UTF8),
              database_, "Binding text");
}

void Statement::bind(int parameter, std::span<const std::byte> bytes) {
  const int code = bytes.empty()
                       ? sqlite3_bind_zeroblob(statement_.get(), parameter, 0)
                       : sqlite3_bind_blob64(statement_.get(), parameter, bytes.data(), bytes.size(), SQLITE_STATIC);
  checkSqlite(code, database_, "Binding bytes");
}

void Statement::bindNull(int parameter) {
  checkSqlite(sqlite3_bind_null(statement_.get(), parameter), database_, "Binding NULL");
}

bool Statement::step() {
  const int code = sqlite3_step(statement_.get());
  checkSqlite(code, database_, "Reading or writing the store");
  return code == SQLITE_ROW;
}

void Statement::reset() noexcept {
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());
}

bool Statement::isNull(int column) const { return type(column) == SQLITE_NULL; }

std::int64_t Statement::integer(int column) const { return sqlite3_column_int64(statement_.get(), column); }

double Statement::real(int column) const { return sqlite3_column_double(statement_.get(), column); }

std::string_view Statement::text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  if (!text) {
    if (sqlite3_errcode(database_) == SQLITE_NOMEM) throw std::bad_alloc();
    return {};
  }
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::span<const std::byte> Statement::bytes(int column) const {
  const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(statement_.get(), column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
  if (!bytes && size > 0) throw std::bad_alloc();
  return {bytes, size};
}

int Statement::type(int column) const { return sqlite3_column_type(statement_.get(), column); }

Guid Statement::guid(int column) const {
  const auto value = bytes(column);
  Guid guid;
  if (value.size() != sizeof guid.bytes) {
    fail(Status::Corrupt, "The store is damaged: an identifier is not 16 bytes long.");
  }
  std::memcpy(guid.bytes, value.data(), sizeof guid.bytes);
  return guid;
}

std::u16string Statement::wideText(int column) const {
  std::u16string wide;
  if (!fromUtf8(text(column), wide)) fail(Status::Corrupt, "The store is damaged: a text is not valid UTF-8.");
  return wide;
}

}  // namespace fendrel::store
