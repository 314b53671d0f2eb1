#include "stores.h"

#include "property_table.h"
#include "standard_folders.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

// A standard folder: its role in the table, the member for its identifier, its name, its parent's role.
struct StandardFolder {
  const char* role;
  Id StoreInfo::*id;
  const char* name;
  const char* parent;
  bool mailboxOnly;
};

constexpr StandardFolder standardFolders[] = {
    {"root", &StoreInfo::root, "", nullptr, false},
    {"ipm_subtree", &StoreInfo::ipmSubtree, "Top of Information Store", "root", false},
    {"common_views", &StoreInfo::commonViews, "Common Views", "root", false},
    {"finder", &StoreInfo::finder, "Finder", "root", false},
    {"inbox", &StoreInfo::inbox, "Inbox", "ipm_subtree", true},
    {"outbox", &StoreInfo::outbox, "Outbox", "ipm_subtree", true},
    {"wastebasket", &StoreInfo::wastebasket, "Deleted Items", "ipm_subtree", true},
    {"sent_items", &StoreInfo::sentItems, "Sent Items", "ipm_subtree", true},
};

void insertStandardFolder(Connection& connection, std::int64_t store, const StandardFolder& folder, FileTime time) {
  Query query(
      connection.statement("INSERT INTO folder (guid, store, parent, name, role, created, modified) "
                           "VALUES (?1, ?2, (SELECT id FROM folder WHERE store = ?2 AND role = ?3), ?4, ?5, ?6, ?6)"));
  const Guid id = newGuid();
  query->bind(1, id);
  query->bind(2, store);
  if (folder.parent) query->bind(3, std::string_view(folder.parent));
  query->bind(4, std::string_view(folder.name));
  query->bind(5, std::string_view(folder.role));
  query->bind(6, time.ticks);
  query.run();
}

void readStore(Connection& connection, std::int64_t row, StoreInfo& found) {
  StoreInfo info;
  {
    Query query(connection.statement("SELECT guid, kind, display_name FROM store WHERE id = ?"), row);
    if (!query.step()) fail(Status::NotFound, "There is no such message store.");
    info.id = query->guid(0);
    info.kind = query->integer(1) == 2 ? StoreKind::Public : StoreKind::Mailbox;
    info.displayName = query->wideText(2);
  }
  Query query(connection.statement("SELECT role, guid FROM folder WHERE store = ? AND role IS NOT NULL"), row);
  while (query.step()) {
    for (const auto& folder : standardFolders) {
      if (query->text(0) == folder.role) info.*folder.id = query->guid(1);
    }
  }
  found = std::move(info);
}

std::int64_t publicStoreRow(Connection& connection) {
  Query query(connection.statement("SELECT id FROM store WHERE kind = 2"));
  return query.step() ? query->integer(0) : 0;
}

}  // namespace

std::int64_t insertStore(Connection& connection, StoreKind kind, const std::u16string& displayName, Id& id) {
  id = newGuid();
  Query(connection.statement("INSERT INTO store (guid, kind, display_name) VALUES (?, ?, ?)"), id,
        static_cast<int>(kind), std::string_view(toUtf8(displayName)))
      .run();
  const std::int64_t row = sqlite3_last_insert_rowid(connection.handle());
  const FileTime time = now();
  for (const auto& folder : standardFolders) {
    if (kind == StoreKind::Mailbox || !folder.mailboxOnly) insertStandardFolder(connection, row, folder, time);
  }
  return row;
}

void ensurePublicStore(Connection& connection) {
  if (publicStoreRow(connection) != 0) return;
  Transaction transaction(connection, Transaction::Write);
  Id id;
  if (publicStoreRow(connection) == 0) insertStore(connection, StoreKind::Public, u"Public Folders", id);
  transaction.commit();
}

Guid storeGuid(Connection& connection, std::int64_t row) {
  Query query(connection.statement("SELECT guid FROM store WHERE id = ?"), row);
  if (!query.step()) fail(Status::NotFound, "There is no such message store.");
  return query->guid(0);
}

std::int64_t storeRow(Connection& connection, const Id& store) {
  Query query(connection.statement("SELECT id FROM store WHERE guid = ?"), store);
  if (!query.step()) fail(Status::NotFound, "There is no such message store.");
  return query->integer(0);
}

Status findStore(Database& database, const Id& store, StoreInfo& found) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    readStore(connection, storeRow(connection, store), found);
  });
}

Status findPublicStore(Database& database, StoreInfo& found) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    readStore(connection, publicStoreRow(connection), found);
  });
}

Status readStoreProperties(Database& database, const Id& store, std::span<const PropertyTag> tags,
                           std::vector<Property>& properties) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    properties = readOwnerProperties(connection, OwnerTable::Store, storeRow(connection, store), tags);
  });
}

Status changeStoreProperties(Database& database, const Id& store, std::span<const Property> set,
                             std::span<const PropertyTag> remove) {
  return guarded(database, [&](Connection& connection) {
    for (const Property& property : set) checkFits(property);
    Transaction transaction(connection, Transaction::Write);
    changeOwnerProperties(connection, OwnerTable::Store, storeRow(connection, store), set, remove);
    transaction.commit();
  });
}

}  // namespace fendrel::store
