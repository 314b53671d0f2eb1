// Folders: the tree of a store.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "database.h"

namespace fendrel::store {

// What the engine keeps right by itself. All of it is of one moment.
struct FolderInfo {
  Guid id{};                        // for the entry id and record key; never used again after a delete
  Guid store{};
  Guid parent{};                    // noGuid for a root
  std::u16string name;              // unique among its siblings; letters count with their case
  FileTime created{};
  FileTime modified{};              // last change of name or properties
  std::uint32_t messageCount = 0;   // ordinary messages
  std::uint32_t unreadCount = 0;    // ordinary messages that are not read
  std::uint32_t associatedCount = 0;
  bool hasSubfolders = false;
  bool isStandard = false;          // one of StoreInfo's: cannot be renamed, moved or deleted
};

enum class IfExists { Refuse, Open };

// Creates a folder with these properties, or with IfExists::Open answers the one of that name (unchanged).
// The name is no property: pass it as `name`. AlreadyExists, NotFound (the parent), Invalid (empty name, value
// that does not fit its tag).
Status createFolder(Database& database, const Guid& parent, const std::u16string& name,
                    std::span<const Property> properties, IfExists ifExists, FolderInfo& folder);

// NotFound.
Status findFolder(Database& database, const Guid& folder, FolderInfo& found);

// Whether it is there: NotFound. Quicker than reading it.
Status checkFolder(Database& database, const Guid& folder);

// The child of that exact name. NotFound.
Status findChild(Database& database, const Guid& parent, const std::u16string& name, FolderInfo& found);

// AlreadyExists, NotFound, Invalid (empty name), NoAccess (a standard folder).
Status renameFolder(Database& database, const Guid& folder, const std::u16string& newName);

// Gives it another parent in the same store, and a new name unless `newName` is empty. AlreadyExists, NotFound,
// NoAccess (a standard folder), Invalid (into itself or below, other store).
Status moveFolder(Database& database, const Guid& folder, const Guid& newParent, const std::u16string& newName);

// What to do with what the folder holds; without the flag its presence refuses the call.
struct DeleteFolderOptions {
  bool withFolders = false;   // else HasFolders
  bool withMessages = false;  // else HasMessages (associated ones count too); also for all folders below
  std::optional<Guid> in = {};  // a folder with another parent is NotFound
};

// NotFound, NoAccess (a standard folder), HasFolders, HasMessages.
Status deleteFolder(Database& database, const Guid& folder, DeleteFolderOptions options);

// Properties that callers attach to a folder; the members of FolderInfo are not among them.
// `tags` empty: all. A tag of type `unspecified` finds any type; otherwise the type must be equal.
// Only what is there comes back, in the order of property identifiers; every value is loaded.
Status readFolderProperties(Database& database, const Guid& folder, std::span<const PropertyTag> tags,
                            std::vector<Property>& properties);

// Sets and removes in one transaction. A property is replaced whatever its type was; removing one that is not
// there is no failure. Invalid (a value that does not fit its tag), NotFound (the folder).
Status changeFolderProperties(Database& database, const Guid& folder, std::span<const Property> set,
                              std::span<const PropertyTag> remove);

enum class Depth { Children, AllBelow };

struct FolderRow {
  FolderInfo folder;
  std::uint32_t depth = 0;       // 1 for a child of the folder asked for
  // One for each column asked for, in that order: the stored tag and value, or tag 0 and std::monostate.
  std::vector<Property> values;
};

// Called once a row; false ends the reading. Runs inside the database's lock: it must not call the engine.
using FolderRowSink = std::function<bool(FolderRow&&)>;

// The folders below in a stable order (each parent before its children, siblings by creation), all of one moment.
// NotFound.
Status readFolderRows(Database& database, const Guid& folder, Depth depth, std::span<const PropertyTag> columns,
                      const FolderRowSink& sink);

}  // namespace fendrel::store
