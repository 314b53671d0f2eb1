// The table `folder`. For the engine only; called inside a transaction.
#pragma once

#include "connection.h"
#include "folders.h"

namespace fendrel::store {

// The columns that folderAt reads, from column 0 on; "f" is the folder.
#define FENDREL_FOLDER_COLUMNS                                                                                       \
  "f.guid, (SELECT s.guid FROM store s WHERE s.id = f.store), (SELECT p.guid FROM folder p WHERE p.id = f.parent), " \
  "f.name, f.created, f.modified, f.message_count, f.unread_count, f.associated_count, "                             \
  "EXISTS (SELECT 1 FROM folder c WHERE c.parent = f.id), f.role IS NOT NULL, f.id"
constexpr int folderColumnCount = 12;
constexpr int folderRowColumn = 11;

FolderInfo folderAt(const Statement& row);

// Throws NotFound.
std::int64_t folderRow(Connection& connection, const Id& folder);

}  // namespace fendrel::store
