// Owns a prepared statement; failures are thrown as EngineError.
#pragma once

#include <sqlite3.h>

#include <concepts>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "id.h"
#include "property.h"
#include "status.h"

namespace fendrel::store {

// The Status for an SQLite code. Out of memory throws std::bad_alloc instead.
Status statusOfSqlite(int code);

// Throws EngineError (or std::bad_alloc) unless the code is SQLITE_OK, ROW or DONE.
void checkSqlite(int code, sqlite3* database, const char* doing);

class Statement {
 public:
  Statement(sqlite3* database, std::string_view sql, bool keptLong);

  // Parameters are numbered from 1. Text and bytes are borrowed until the statement is reset.
  template <std::integral Number>
  void bind(int parameter, Number value) {
    bindInteger(parameter, static_cast<std::int64_t>(value));
  }
  void bindInteger(int parameter, std::int64_t value);
  void bind(int parameter, double value);
  void bind(int parameter, std::string_view utf8);
  void bind(int parameter, std::span<const std::byte> bytes);
  void bind(int parameter, const Guid& guid) { bind(parameter, std::span<const std::byte>(guid.bytes)); }
  void bind(int parameter, const Id& id) { bind(parameter, id.bytes()); }
  void bindOwned(int parameter, std::string_view utf8);  // copied
  void bindNull(int parameter);

  // True while there is a row.
  bool step();
  void reset() noexcept;

  // Columns of the current row are numbered from 0; views are valid until the next step or reset.
  bool isNull(int column) const;
  std::int64_t integer(int column) const;
  double real(int column) const;
  std::string_view text(int column) const;
  std::span<const std::byte> bytes(int column) const;
  int type(int column) const;
  Guid guid(int column) const;                // Corrupt if it is not 16 bytes
  std::u16string wideText(int column) const;  // Corrupt if it is not valid text

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };
  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// One use of a cached statement: binds the arguments in order; the destructor resets it.
class Query {
 public:
  template <class... Arguments>
  explicit Query(Statement& statement, const Arguments&... arguments) : statement_(statement) {
    statement_.reset();
    int parameter = 0;
    (statement_.bind(++parameter, arguments), ...);
  }
  ~Query() { statement_.reset(); }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  Statement* operator->() noexcept { return &statement_; }
  Statement& operator*() noexcept { return statement_; }
  bool step() { return statement_.step(); }
  void run() {
    while (statement_.step()) {
    }
  }

 private:
  Statement& statement_;
};

}  // namespace fendrel::store
