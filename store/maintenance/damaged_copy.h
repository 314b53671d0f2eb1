// A copy of a damaged store, put in order so far that SQLite's recovery can work on it. For store/maintenance only.
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
  // Copies the database and its log from `store`, of which nothing is changed, to `path`, where nothing is. What the
  // disk cannot read is zeros in the copy. Throws EngineError: NotFound, NewerVersion, Corrupt (no store of ours).
  DamagedCopy(const std::wstring& store, const std::wstring& path, Disk& disk);

  // Open for the recovery, with all that was in the log.
  sqlite3* handle() const noexcept { return database_.get(); }

  // The first page, which tells where the tables are, was lost; the copy has the one of an empty store.
  bool lostFirstPage() const noexcept { return lostFirstPage_; }

  // Of the schema that its first page has; 0: it is not known where the tables and indexes begin.
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
