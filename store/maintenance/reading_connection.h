// A store opened for reading alone, damaged or not. For store/maintenance only.
#pragma once

#include <memory>
#include <string>

#include "content_folder.h"
#include "engine_error.h"
#include "open_database.h"
#include "sqlite_statement.h"

namespace fendrel::store {

// Changes nothing in the store's files (an empty log is made where there is none). Where the disk may not be written it
// reads all the same, as long as nothing is in the write-ahead log.
class ReadingConnection {
 public:
  // Throws EngineError: NotFound, NewerVersion, NoAccess, Busy, Corrupt (also: the database of another program).
  ReadingConnection(const std::wstring& path, Disk& disk);

  // The same for rows whose content files are those of another store.
  ReadingConnection(const std::wstring& path, const std::wstring& contentsOf, Disk& disk);

  // Everything read from now on is of one moment. An error of the disk ends that; this begins anew where it has.
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

// True for what damage looks like; false for what has other causes (a busy store).
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

// A path in the form in which SQLite takes options with it.
std::wstring uriOf(const std::wstring& path);

// The size of a file; 0 if there is none.
std::uint64_t fileSize(Disk& disk, const std::wstring& path);

}  // namespace fendrel::store
