// A copy of a damaged store, repaired as far as SQLite's recovery needs. For store/maintenance only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disk.h"
#include "empty_store.h"
#include "open_database.h"

namespace fendrel::store {

class DamagedCopy {
 public:
  // Copies the database and its log from `store`, which is not changed, to `path`, which must not exist. Unreadable
  // bytes are zeros in the copy. Throws EngineError: NotFound, NewerVersion, Corrupt (not a store).
  DamagedCopy(const std::wstring& store, const std::wstring& path, Disk& disk);

  // Open for the recovery, with the log's transactions.
  sqlite3* handle() const noexcept { return database_.get(); }

  // Whether the first page, which locates the tables, was lost; the copy then has the one of an empty store.
  bool lostFirstPage() const noexcept { return lostFirstPage_; }

  // Of the schema in its first page; 0: the places of tables and indexes are unknown.
  int version() const noexcept { return version_; }

 private:
  bool open();
  void refuseNewer(const std::wstring& store);
  bool firstPageIsRight();
  void replaceFirstPage();
  int agreement(const std::vector<RootPage>& roots, int pageSize, int reservedBytes);

  std::wstring path_;
  Disk& disk_;
  DatabaseHandle database_;
  bool lostFirstPage_ = false;
  int version_ = 0;
};

}  // namespace fendrel::store
