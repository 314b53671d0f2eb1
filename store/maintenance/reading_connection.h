// A store opened for reading alone, damaged or not. For store/maintenance only.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "disk.h"
#include "engine_error.h"
#include "sqlite_statement.h"

namespace fendrel::store {

// Changes nothing in the store's files (an empty log is made where there is none). Where the disk may not be written it
// reads all the same, as long as nothing is in the write-ahead log.
class ReadingConnection {
public:
  // Throws EngineError: NotFound, NewerVersion, NoAccess, Busy, Corrupt (also: the database of another program).
  ReadingConnection(const std::wstring& path, Disk& disk);

  // The tables of a store without rows, in memory, for FoundRows; `path` is where the content files are.
  struct Empty {};
  ReadingConnection(const std::wstring& path, Disk& disk, Empty);

  // Everything read from now on is of one moment. An error of the disk ends that; this begins anew where it has.
  void keepMoment();
  void endMoment() noexcept;

  Statement statement(const char* sql);
  std::int64_t number(const char* sql);  // the first column of its only row

  sqlite3* handle() const noexcept { return database_.get(); }
  Disk& disk() const noexcept { return disk_; }
  const std::wstring& path() const noexcept { return path_; }
  std::wstring contentFolder() const { return path_ + L".files"; }
  int version() const noexcept { return version_; }

  // What stands behind FROM to read the columns of an index, and its rows' numbers as `id`, out of the index alone.
  std::string indexRows(const std::string& table, const std::string& index) const;

  // Tables of which rows are lost without a trace, and how. Reading them ends as if they were whole.
  void noteIncomplete(const std::string& table, const std::string& why);
  bool isIncomplete(const std::string& table, std::string& why) const;

private:
  struct Close {
    void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
  };

  void createLogFiles();
  void open(const std::string& name, int flags);
  void openUnchanging();
  void readVersion();
  static int waitWhileBusy(void*, int attempt) noexcept;

  std::wstring path_;
  Disk& disk_;
  std::unique_ptr<sqlite3, Close> database_;
  int version_ = 0;
  bool isEmpty_ = false;
  std::map<std::string, std::string> incomplete_;
};

// True for what damage looks like; false for what has other causes (a busy store).
bool isDamage(const EngineError& error) noexcept;

// The size of a file; 0 if there is none.
std::uint64_t fileSize(Disk& disk, const std::wstring& path);

}  // namespace fendrel::store
