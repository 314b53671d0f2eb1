#include "folders.h"

#include "folder_table.h"
#include "property_table.h"
#include "standard_folders.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

// The facts about a folder that a change needs.
struct FolderPlace {
  std::int64_t row, store, parent;
  bool isStandard;
};

FolderPlace placeOf(Connection& connection, const Id& folder) {
  Query query(connection.statement("SELECT id, store, parent, role IS NOT NULL FROM folder WHERE guid = ?"), folder);
  if (!query.step()) fail(Status::NotFound, "The folder does not exist, or no longer exists.");
  return {query->integer(0), query->integer(1), query->integer(2), query->integer(3) != 0};
}

FolderPlace changeablePlaceOf(Connection& connection, const Id& folder) {
  const FolderPlace place = placeOf(connection, folder);
  if (place.isStandard) fail(Status::NoAccess, "A standard folder cannot be renamed, moved or deleted.");
  return place;
}

FolderInfo infoOf(Connection& connection, std::int64_t row) {
  Query query(connection.statement("SELECT " FENDREL_FOLDER_COLUMNS " FROM folder f WHERE f.id = ?"), row);
  if (!query.step()) fail(Status::NotFound, "The folder does not exist, or no longer exists.");
  return folderAt(*query);
}

// 0 if there is none.
std::int64_t childRow(Connection& connection, std::int64_t parent, std::string_view name) {
  Query query(connection.statement("SELECT id FROM folder WHERE parent = ? AND name = ?"), parent, name);
  return query.step() ? query->integer(0) : 0;
}

std::string checkedName(const std::u16string& name) {
  if (name.empty()) fail(Status::Invalid, "A folder needs a name.");
  return toUtf8(name);
}

[[noreturn]] void failTaken(const std::string& name) {
  fail(Status::AlreadyExists, "There is already a folder '" + name + "'.");
}

bool isBelowOrSame(Connection& connection, std::int64_t folder, std::int64_t above) {
  Query query(connection.statement("WITH RECURSIVE up (id) AS (SELECT ?1 UNION "
                                   "SELECT f.parent FROM folder f JOIN up ON f.id = up.id WHERE f.parent IS NOT NULL) "
                                   "SELECT 1 FROM up WHERE id = ?2"),
              folder, above);
  return query.step();
}

// The folder and all its subfolders, for use in "id IN (...)".
#define FENDREL_TREE_OF_1                          \
  "(WITH RECURSIVE tree (id) AS (SELECT ?1 UNION " \
  "SELECT f.id FROM folder f JOIN tree ON f.parent = tree.id) SELECT id FROM tree)"

}  // namespace

FolderInfo folderAt(const Statement& row) {
  FolderInfo info;
  info.id = row.guid(0);
  info.store = row.guid(1);
  if (!row.isNull(2)) info.parent = row.guid(2);
  info.name = row.wideText(3);
  info.created = {static_cast<std::uint64_t>(row.integer(4))};
  info.modified = {static_cast<std::uint64_t>(row.integer(5))};
  info.messageCount = static_cast<std::uint32_t>(row.integer(6));
  info.unreadCount = static_cast<std::uint32_t>(row.integer(7));
  info.associatedCount = static_cast<std::uint32_t>(row.integer(8));
  info.hasSubfolders = row.integer(9) != 0;
  info.isStandard = row.integer(10) != 0;
  return info;
}

std::int64_t folderRow(Connection& connection, const Id& folder) { return placeOf(connection, folder).row; }

Status createFolder(Database& database, const Id& parent, const std::u16string& name,
                    std::span<const Property> properties, IfExists ifExists, FolderInfo& folder) {
  return guarded(database, [&](Connection& connection) {
    const std::string utf8 = checkedName(name);
    for (const Property& property : properties) checkFits(property);
    Transaction transaction(connection, Transaction::Write);
    const FolderPlace above = placeOf(connection, parent);
    if (const std::int64_t existing = childRow(connection, above.row, utf8); existing != 0) {
      if (ifExists == IfExists::Refuse) failTaken(utf8);
      folder = infoOf(connection, existing);
      return;
    }
    Query(connection.statement("INSERT INTO folder (guid, store, parent, name, created, modified) "
                               "VALUES (?1, ?2, ?3, ?4, ?5, ?5)"),
          newGuid(), above.store, above.row, std::string_view(utf8), now().ticks)
        .run();
    const std::int64_t row = sqlite3_last_insert_rowid(connection.handle());
    changeOwnerProperties(connection, OwnerTable::Folder, row, properties, {});
    FolderInfo made = infoOf(connection, row);
    transaction.commit();
    folder = std::move(made);
  });
}

Status findFolder(Database& database, const Id& folder, FolderInfo& found) {
  return guarded(database, [&](Connection& connection) {
    Query query(connection.statement("SELECT " FENDREL_FOLDER_COLUMNS " FROM folder f WHERE f.guid = ?"), folder);
    if (!query.step()) fail(Status::NotFound, "The folder does not exist, or no longer exists.");
    found = folderAt(*query);
  });
}

Status checkFolder(Database& database, const Id& folder) {
  return guarded(database, [&](Connection& connection) { folderRow(connection, folder); });
}

Status findChild(Database& database, const Id& parent, const std::u16string& name, FolderInfo& found) {
  return guarded(database, [&](Connection& connection) {
    const std::string utf8 = toUtf8(name);
    Transaction transaction(connection, Transaction::Read);
    const std::int64_t row = childRow(connection, folderRow(connection, parent), utf8);
    if (row == 0) fail(Status::NotFound, "There is no folder '" + utf8 + "'.");
    found = infoOf(connection, row);
  });
}

Status renameFolder(Database& database, const Id& folder, const std::u16string& newName) {
  return guarded(database, [&](Connection& connection) {
    const std::string utf8 = checkedName(newName);
    Transaction transaction(connection, Transaction::Write);
    const FolderPlace place = changeablePlaceOf(connection, folder);
    const std::int64_t taken = childRow(connection, place.parent, utf8);
    if (taken != 0 && taken != place.row) failTaken(utf8);
    Query(connection.statement("UPDATE folder SET name = ?, modified = ? WHERE id = ?"), std::string_view(utf8),
          now().ticks, place.row)
        .run();
    transaction.commit();
  });
}

Status moveFolder(Database& database, const Id& folder, const Id& newParent, const std::u16string& newName) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Write);
    const FolderPlace place = changeablePlaceOf(connection, folder);
    const FolderPlace above = placeOf(connection, newParent);
    if (above.store != place.store) fail(Status::Invalid, "A folder cannot be moved to another message store.");
    if (isBelowOrSame(connection, above.row, place.row)) {
      fail(Status::Invalid, "A folder cannot be moved into itself.");
    }
    const std::string utf8 = toUtf8(newName.empty() ? infoOf(connection, place.row).name : newName);
    const std::int64_t taken = childRow(connection, above.row, utf8);
    if (taken != 0 && taken != place.row) failTaken(utf8);
    Query(connection.statement("UPDATE folder SET parent = ?, name = ?, modified = ? WHERE id = ?"), above.row,
          std::string_view(utf8), now().ticks, place.row)
        .run();
    transaction.commit();
  });
}

Status deleteFolder(Database& database, const Id& folder, DeleteFolderOptions options) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Write);
    const FolderPlace place = changeablePlaceOf(connection, folder);
    if (!options.in.empty() && folderRow(connection, options.in) != place.parent) {
      fail(Status::NotFound, "The folder is not, or no longer, in that folder.");
    }
    if (!options.withFolders && infoOf(connection, place.row).hasSubfolders) {
      fail(Status::HasFolders, "The folder holds other folders.");
    }
    if (!options.withMessages) {
      Query query(connection.statement("SELECT 1 FROM message WHERE folder IN " FENDREL_TREE_OF_1), place.row);
      if (query.step()) fail(Status::HasMessages, "The folder holds messages.");
    }
    Query(connection.statement("DELETE FROM folder WHERE id IN " FENDREL_TREE_OF_1), place.row).run();
    transaction.commit();
  });
}

Status readFolderProperties(Database& database, const Id& folder, std::span<const PropertyTag> tags,
                            std::vector<Property>& properties) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    properties = readOwnerProperties(connection, OwnerTable::Folder, folderRow(connection, folder), tags);
  });
}

Status changeFolderProperties(Database& database, const Id& folder, std::span<const Property> set,
                              std::span<const PropertyTag> remove) {
  return guarded(database, [&](Connection& connection) {
    for (const Property& property : set) checkFits(property);
    Transaction transaction(connection, Transaction::Write);
    const std::int64_t row = folderRow(connection, folder);
    changeOwnerProperties(connection, OwnerTable::Folder, row, set, remove);
    Query(connection.statement("UPDATE folder SET modified = ? WHERE id = ?"), now().ticks, row).run();
    transaction.commit();
  });
}

}  // namespace fendrel::store
