// An empty store in memory: the model for a damaged store's first page. For store/maintenance only.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "open_database.h"

namespace fendrel::store {

// Stores of one form have their tables in the same places: in the order of the schema's scripts, or of compacting.
struct StoreForm {
  int version = 0;  // of the schema; 0: no tables
  int pageSize = 0;
  int reservedBytes = 0;  // of each page
  bool isCompacted = false;
};

// The root page of a table or index.
struct RootPage {
  std::uint32_t number = 0;
  bool hasRowNumbers = false;  // like ordinary tables, whose pages have a different kind
};

class EmptyStore {
 public:
  explicit EmptyStore(const StoreForm& form);

  Bytes firstPage() const;
  std::vector<RootPage> roots() const;

 private:
  StoreForm form_;
  DatabaseHandle database_;
};

// The statements that create tables, indexes and triggers, by name.
std::map<std::string, std::string> schemaOf(sqlite3* database);
std::map<std::string, std::string> schemaOfVersion(int version);

// The root pages of any store that SQLite can open.
std::vector<RootPage> rootsOf(sqlite3* database);

}  // namespace fendrel::store
