// The message stores of a database: one mailbox a profile, one public store. What calls promise stands in engine.h.
#pragma once

#include <span>
#include <vector>

#include "database.h"
#include "store_info.h"

namespace fendrel::store {

// By identifier.
Status findStore(Database& database, const Id& store, StoreInfo& found);

// The one public store; it is created when the database is.
Status findPublicStore(Database& database, StoreInfo& found);

Status readStoreProperties(Database& database, const Id& store, std::span<const PropertyTag> tags,
                           std::vector<Property>& properties);
Status changeStoreProperties(Database& database, const Id& store, std::span<const Property> set,
                             std::span<const PropertyTag> remove);

}  // namespace fendrel::store
