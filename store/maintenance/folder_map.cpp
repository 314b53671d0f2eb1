#include "folder_map.h"

#include <algorithm>

namespace fendrel::store {
namespace {

constexpr std::size_t deepest = 10'000;
constexpr std::int64_t publicKind = 2;

std::optional<std::int64_t> optionalInteger(const Statement& row, int column) {
  return row.isNull(column) ? std::nullopt : std::optional(row.integer(column));
}

std::string textOf(const Statement& row, int column) { return std::string(row.text(column)); }

}  // namespace

FolderMap::FolderMap(ReadingConnection& rows, ReadingConnection* indexes) {
  readStores(rows);
  readFolders(rows);
  readMailboxes(rows);
  if (!indexes) return;
  mendStores(*indexes);
  mendFolders(*indexes);
}

void FolderMap::readStores(ReadingConnection& connection) {
  std::string why;
  const bool ended =
      readRows(connection, "SELECT id, guid, kind, display_name FROM store", why, [&](const Statement& row) {
        stores[row.integer(0)] = {row.guid(1), row.integer(2), textOf(row, 3), false};
      });
  if (!ended) lost_.push_back({{}, {}, {}, false, "The table of message stores is damaged: " + why});
}

// The index of identifiers holds identifiers and row numbers; the index of the public store has its one row.
void FolderMap::mendStores(ReadingConnection& connection) {
  std::string why;
  std::set<std::int64_t> isPublic;
  readRows(connection, "SELECT id FROM store INDEXED BY one_public_store WHERE kind = 2", why,
           [&](const Statement& row) { isPublic.insert(row.integer(0)); });
  readRows(connection, "SELECT id, guid FROM store INDEXED BY sqlite_autoindex_store_1", why,
           [&](const Statement& row) {
             const std::int64_t id = row.integer(0);
             if (stores.contains(id)) return;
             const bool shared = isPublic.contains(id);
             const char* name = shared ? "Public Folders" : "Mailbox (recovered)";
             stores[id] = {row.guid(1), shared ? publicKind : 1, name, true};
           });
}

void FolderMap::readFolders(ReadingConnection& connection) {
  std::string why;
  const auto take = [&](const Statement& row) {
    FolderRecord folder;
    folder.guid = row.guid(1);
    folder.store = row.integer(2);
    folder.parent = optionalInteger(row, 3);
    folder.name = textOf(row, 4);
    if (!row.isNull(5)) folder.role = textOf(row, 5);
    folder.created = row.integer(6);
    folder.modified = row.integer(7);
    folder.messages = row.integer(8);
    folder.unread = row.integer(9);
    folder.associated = row.integer(10);
    folders[row.integer(0)] = std::move(folder);
  };
  const bool ended = readRows(connection,
                              "SELECT id, guid, store, parent, name, role, created, modified, message_count, "
                              "unread_count, associated_count FROM folder",
                              why, take);
  if (!ended) lost_.push_back({{}, {}, {}, false, "The table of folders is damaged: " + why});
}

// Three indexes together hold a folder's identifier, parent and name, store and role.
void FolderMap::mendFolders(ReadingConnection& connection) {
  std::string why;
  std::map<std::int64_t, FolderRecord> known;
  readRows(connection, "SELECT id, guid FROM folder INDEXED BY sqlite_autoindex_folder_1", why,
           [&](const Statement& row) {
             if (!folders.contains(row.integer(0))) known[row.integer(0)].guid = row.guid(1);
           });
  if (known.empty()) return;
  readRows(connection, "SELECT id, parent, name FROM folder INDEXED BY sqlite_autoindex_folder_2", why,
           [&](const Statement& row) {
             const auto folder = known.find(row.integer(0));
             if (folder == known.end()) return;
             folder->second.parent = optionalInteger(row, 1);
             folder->second.name = textOf(row, 2);
           });
  readRows(connection, "SELECT id, store, role FROM folder INDEXED BY sqlite_autoindex_folder_3", why,
           [&](const Statement& row) {
             const auto folder = known.find(row.integer(0));
             if (folder == known.end()) return;
             folder->second.store = row.integer(1);
             if (!row.isNull(2)) folder->second.role = textOf(row, 2);
           });
  // Even without name and parent, a folder still has its messages.
  for (auto& [id, folder] : known) {
    folder.isMended = true;
    if (folder.store != 0) folders.emplace(id, std::move(folder));
  }
}

void FolderMap::readMailboxes(ReadingConnection& connection) {
  std::string why;
  readRows(connection, "SELECT mailbox FROM profile WHERE password_hash IS NULL", why,
           [&](const Statement& row) { openMailboxes_.insert(row.integer(0)); });
}

std::string FolderMap::path(std::int64_t folder) const {
  std::string path;
  std::int64_t at = folder;
  for (std::size_t steps = 0; steps < deepest; ++steps) {
    const auto found = folders.find(at);
    if (found == folders.end()) break;
    const FolderRecord& record = found->second;
    const bool isTop = record.role == "ipm_subtree" || record.role == "root" || !record.parent;
    if (isTop) {
      const auto store = stores.find(record.store);
      return (store == stores.end() ? "store number " + std::to_string(record.store) : store->second.name) +
             (path.empty() ? "" : "@" + path);
    }
    path = path.empty() ? record.name : record.name + "@" + path;
    at = *record.parent;
  }
  return "folder number " + std::to_string(at) + (path.empty() ? "" : "@" + path);
}

bool FolderMap::isOpen(std::int64_t store) const {
  const auto found = stores.find(store);
  return found != stores.end() && (found->second.kind == publicKind || openMailboxes_.contains(store));
}

bool FolderMap::isProtected(std::int64_t folder) const {
  const auto found = folders.find(folder);
  if (found != folders.end()) return !isOpen(found->second.store);
  return std::ranges::any_of(stores, [&](const auto& each) { return !isOpen(each.first); });
}

bool FolderMap::isAstray(std::int64_t folder) const {
  std::optional<std::int64_t> at = folder;
  std::int64_t store = 0;
  for (std::size_t steps = 0; steps < deepest; ++steps) {
    const auto found = folders.find(*at);
    if (found == folders.end()) return true;
    if (steps > 0 && found->second.store != store) return true;
    store = found->second.store;
    if (!found->second.parent) return found->second.role != "root";
    at = found->second.parent;
  }
  return true;
}

}  // namespace fendrel::store
