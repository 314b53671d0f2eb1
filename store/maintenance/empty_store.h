// A store in which nothing is yet, in memory: what a damaged one's first page must have said. For store/maintenance only.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "open_database.h"

namespace fendrel::store {

// Stores made in one way have their tables in the same places: as the schema's scripts make them one after another, or
// as compacting orders them.
struct StoreForm {
  int version = 0;  // of the schema; 0: no tables
  int pageSize = 0;
  int reservedBytes = 0;  // of each page
  bool isCompacted = false;
};

// A page on which a table or an index begins.
struct RootPage {
  std::uint32_t number = 0;
  bool hasRowNumbers = false;  // as ordinary tables do, which have pages of a kind of their own
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

// The statements that made the tables, indexes and triggers, by their names.
std::map<std::string, std::string> schemaOf(sqlite3* database);
std::map<std::string, std::string> schemaOfVersion(int version);

// The roots of any store that SQLite can open.
std::vector<RootPage> rootsOf(sqlite3* database);

}  // namespace fendrel::store
