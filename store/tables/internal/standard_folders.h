// The stores of a database and the standard folders of every store. For the engine only.
#pragma once

#include "connection.h"
#include "stores.h"

namespace fendrel::store {

// Inserts a store with its standard folders, inside a write transaction; returns its row number.
std::int64_t insertStore(Connection& connection, StoreKind kind, const std::u16string& displayName, Id& id);

// Creates the public store if the database has none yet.
void ensurePublicStore(Connection& connection);

// The identifier of the store with that row number.
Guid storeGuid(Connection& connection, std::int64_t row);

// Throws NotFound.
std::int64_t storeRow(Connection& connection, const Id& store);

}  // namespace fendrel::store
