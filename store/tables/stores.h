// The message stores of a database: one mailbox per profile, one public store. engine.h describes the calls.
#pragma once

#include <span>
#include <vector>

#include "database.h"
#include "store_info.h"

namespace fendrel::store {

// By identifier.
Status findStore(Database& database, const Id& store, StoreInfo& found);

// The public store, which is created with the database.
Status findPublicStore(Database& database, StoreInfo& found);

Status readStoreProperties(Database& database, const Id& store, std::span<const PropertyTag> tags,
                           std::vector<Property>& properties);
Status changeStoreProperties(Database& database, const Id& store, std::span<const Property> set,
                             std::span<const PropertyTag> remove);

}  // namespace fendrel::store
