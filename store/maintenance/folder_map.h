// The profiles, stores and folders of a possibly damaged store. For store/maintenance only.
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
  bool isMended = false;  // its row was lost; recreated from indexes
};

struct FolderRecord {
  Guid guid{};
  std::int64_t store = 0;
  std::optional<std::int64_t> parent;
  std::string name;
  std::optional<std::string> role;
  std::int64_t created = 0, modified = 0;
  std::int64_t messages = 0, unread = 0, associated = 0;  // from the row
  bool isMended = false;
};

// Folders and stores are identified by row numbers.
class FolderMap {
 public:
  // Reads the tables of `rows`, and what they lack from the indexes of `indexes`.
  FolderMap(ReadingConnection& rows, ReadingConnection* indexes);

  std::map<std::int64_t, StoreRecord> stores;
  std::map<std::int64_t, FolderRecord> folders;

  // Entries that could not be read.
  const std::vector<Finding>& lost() const noexcept { return lost_; }

  // "Public Folders@Reports@Daily"; "folder number N" for a missing part.
  std::string path(std::int64_t folder) const;

  // True if every profile of the folder's mailbox has a password, or if that is unknown.
  bool isProtected(std::int64_t folder) const;

  // True for folders that are not connected to a root.
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
