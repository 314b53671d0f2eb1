// Folders as an engine describes them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "id.h"
#include "property.h"

namespace fendrel::store {

// The user's rights on a folder.
struct FolderRights {
  bool mayAddMessages = true;
  bool mayAddFolders = true;
  bool mayChange = true;  // its name and messages
  bool mayDelete = true;
};

// Maintained by the engine; a snapshot.
struct FolderInfo {
  Id id;  // for the entry id and record key; never used again after a delete
  Id store;
  Id parent;            // empty for a root
  std::u16string name;  // unique among its siblings, case-sensitive
  FileTime created{};
  FileTime modified{};             // last change of name or properties
  std::uint32_t messageCount = 0;  // ordinary messages
  std::uint32_t unreadCount = 0;   // ordinary messages that are not read
  std::uint32_t associatedCount = 0;
  bool hasSubfolders = false;
  FolderRights rights;
  bool isStandard = false;  // one of StoreInfo's: cannot be renamed, moved or deleted
};

enum class IfExists { Refuse, Open };

// What to delete with a folder; without the flag a folder with such contents is not deleted.
struct DeleteFolderOptions {
  bool withFolders = false;   // else HasFolders
  bool withMessages = false;  // else HasMessages (associated ones count too); also for all folders below
  Id in = {};                 // unless empty, a folder with another parent is NotFound
};

enum class Depth { Children, AllBelow };

struct FolderRow {
  FolderInfo folder;
  std::uint32_t depth = 0;  // 1 for a child of the requested folder
  // One for each requested column, in order: the stored tag and value, or tag 0 and std::monostate.
  std::vector<Property> values;
};

// Called for each row; false ends the reading. Runs under the engine's lock: it must not call the engine.
using FolderRowSink = std::function<bool(FolderRow&&)>;

}  // namespace fendrel::store
