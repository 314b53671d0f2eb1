// A message store as an engine describes it.
#pragma once

#include <string>

#include "id.h"

namespace fendrel::store {

enum class StoreKind { Mailbox = 1, Public = 2 };

// The standard folders are empty if the store lacks them. They cannot be renamed, moved or deleted.
struct StoreInfo {
  Id id;  // for the entry id and record key
  StoreKind kind = StoreKind::Mailbox;
  std::u16string displayName;  // "Mailbox - USER", "Public Folders"
  Id root;                     // has no parent and no name
  Id ipmSubtree;               // child of the root; its subfolders are what users see
  Id commonViews;              // child of the root
  Id finder;                   // child of the root, for search results
  Id inbox;                    // mailbox only, as are the next three: children of the IPM subtree
  Id outbox;
  Id wastebasket;  // "Deleted Items"
  Id sentItems;
};

}  // namespace fendrel::store
