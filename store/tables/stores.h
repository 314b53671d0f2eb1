// The message stores of a database: one mailbox a profile, one public store.
#pragma once

#include <span>
#include <vector>

#include "database.h"

namespace fendrel::store {

enum class StoreKind { Mailbox = 1, Public = 2 };

// A store's own folders; noGuid where it has none. They cannot be renamed, moved or deleted.
struct StoreInfo {
  Guid id{};                    // for the entry id and record key
  StoreKind kind = StoreKind::Mailbox;
  std::u16string displayName;   // "Mailbox - USER", "Public Folders"
  Guid root{};                  // has no parent and no name
  Guid ipmSubtree{};            // child of the root; its subfolders are what users see
  Guid commonViews{};           // child of the root
  Guid finder{};                // child of the root, for search results
  Guid inbox{};                 // mailbox only, as are the next three: children of the IPM subtree
  Guid outbox{};
  Guid wastebasket{};           // "Deleted Items"
  Guid sentItems{};
};

// By identifier. NotFound.
Status findStore(Database& database, const Guid& store, StoreInfo& found);

// The one public store; it is created when the database is.
Status findPublicStore(Database& database, StoreInfo& found);

// Properties that callers attach to a store; the members of StoreInfo are not among them.
// `tags` empty: all. A tag of type `unspecified` finds any type; otherwise the type must be equal.
// Only what is there comes back, in the order of property identifiers.
Status readStoreProperties(Database& database, const Guid& store, std::span<const PropertyTag> tags,
                           std::vector<Property>& properties);

// Sets and removes in one transaction. A property is replaced whatever its type was; removing one that is not
// there is no failure. Invalid (a value that does not fit its tag), NotFound (the store).
Status changeStoreProperties(Database& database, const Guid& store, std::span<const Property> set,
                             std::span<const PropertyTag> remove);

}  // namespace fendrel::store
