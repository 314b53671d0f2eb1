// A store that may be damaged anywhere, opened for reading. For store/maintenance only.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "found_rows.h"
#include "page_scan.h"
#include "reading_connection.h"
#include "store_pages.h"

namespace fendrel::store {

// Tables that SQLite reads from end to end are read by SQLite. For the others stand the rows that were found page by
// page; so for all of them where the first page, which tells of tables, is damaged.
class DamagedStore {
public:
  // Throws EngineError as ReadingConnection does; Corrupt only where nothing of a store of ours is found.
  DamagedStore(const std::wstring& path, Disk& disk);

  ReadingConnection& connection() noexcept { return *connection_; }

  // Sentences about what was damaged and could be read all the same.
  const std::vector<std::string>& overcome() const noexcept { return overcome_; }

private:
  using Trees = std::vector<ScannedTree>;

  void readPages(const Trees& trees, const std::vector<const TreeShape*>& tables, std::uint32_t firstFreePage);
  void report(const ScannedTree& tree);
  Trees treesOfSchema();
  Trees treesOfKnownStore(const EngineError& otherwise);
  bool areThere(const Trees& trees);

  std::unique_ptr<StorePages> pages_;
  std::unique_ptr<ReadingConnection> connection_;
  std::unique_ptr<FoundRows> rows_;  // before the connection they go
  std::vector<std::string> overcome_;
};

}  // namespace fendrel::store
