// The profiles, stores and folders of a store that may be damaged. For store/maintenance only.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "maintenance.h"
#include "property.h"
#include "reading_connection.h"

namespace fendrel::store {

struct StoreRecord {
  Guid guid{};
  std::int64_t kind = 0;
  std::string name;
  bool isMended = false;  // its row was lost; this is what the indexes know of it
};

struct FolderRecord {
  Guid guid{};
  std::int64_t store = 0;
  std::optional<std::int64_t> parent;
  std::string name;
  std::optional<std::string> role;
  std::int64_t created = 0, modified = 0;
  std::int64_t messages = 0, unread = 0, associated = 0;  // as the row counts them
  bool isMended = false;
};

// Numbers are those of the rows.
class FolderMap {
 public:
  // Reads what can be read from the tables of `rows`, and what these lack from the indexes of `indexes`.
  FolderMap(ReadingConnection& rows, ReadingConnection* indexes);

  std::map<std::int64_t, StoreRecord> stores;
  std::map<std::int64_t, FolderRecord> folders;

  // What could not be read at all.
  const std::vector<Finding>& lost() const noexcept { return lost_; }

  // "Public Folders@Reports@Daily"; "folder number N" below what is missing.
  std::string path(std::int64_t folder) const;

  // True for what is in a mailbox that no profile without a password has, and where that is not known.
  bool isProtected(std::int64_t folder) const;

  // True for folders whose way up ends in nothing or in a circle.
  bool isAstray(std::int64_t folder) const;

 private:
  bool isOpen(std::int64_t store) const;
  void readStores(ReadingConnection& connection);
  void readFolders(ReadingConnection& connection);
  void readMailboxes(ReadingConnection& connection);
  void mendStores(ReadingConnection& connection);
  void mendFolders(ReadingConnection& connection);

  std::vector<Finding> lost_;
  std::set<std::int64_t> openMailboxes_;  // of profiles without a password
};

}  // namespace fendrel::store
