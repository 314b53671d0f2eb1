// A read-only connection to a store, damaged or not. For store/maintenance only.
#pragma once

#include <memory>
#include <string>

#include "content_folder.h"
#include "engine_error.h"
#include "open_database.h"
#include "sqlite_statement.h"

namespace fendrel::store {

// Does not change the store's files (but creates an empty log if there is none). Also works on a read-only disk if the
// write-ahead log is empty.
class ReadingConnection {
 public:
  // Throws EngineError: NotFound, NewerVersion, NoAccess, Busy, Corrupt (also: the database of another program).
  ReadingConnection(const std::wstring& path, Disk& disk);

  // The same for rows whose content files belong to another store.
  ReadingConnection(const std::wstring& path, const std::wstring& contentsOf, Disk& disk);

  // Starts a snapshot for all further reads, also again after a disk error has ended it.
  void keepMoment();
  void endMoment() noexcept;

  Statement statement(const char* sql);
  std::int64_t number(const char* sql);  // the first column of its only row

  sqlite3* handle() const noexcept { return database_.get(); }
  Disk& disk() const noexcept { return contents_.disk(); }
  const std::wstring& path() const noexcept { return path_; }
  const ContentFolder& contents() const noexcept { return contents_; }
  int version() const noexcept { return version_; }

 private:
  void open(const std::wstring& name, int flags);
  void openUnchanging();
  void readVersion();
  static int waitWhileBusy(void*, int attempt) noexcept;

  std::wstring path_;
  ContentFolder contents_;
  DatabaseHandle database_;
  int version_ = 0;
};

// True for errors that damage causes; false for others (a busy store).
bool isDamage(const EngineError& error) noexcept;

// Calls use(row) for each row of a query until it ends or fails. False: it failed, `why` says how.
template <class Use>
bool readRows(ReadingConnection& connection, const char* sql, std::string& why, Use use) {
  try {
    connection.keepMoment();
    Statement rows = connection.statement(sql);
    while (rows.step()) use(rows);
    return true;
  } catch (const EngineError& error) {
    if (!isDamage(error)) throw;
    why = error.text;
    return false;
  }
}

// A path as a URI, to which SQLite options can be added.
std::wstring uriOf(const std::wstring& path);

// The size of a file; 0 if there is none.
std::uint64_t fileSize(Disk& disk, const std::wstring& path);

}  // namespace fendrel::store
