// The stores of a database and the folders that every store has. For the engine's own files only.
#pragma once

#include "connection.h"
#include "stores.h"

namespace fendrel::store {

// Inside a write transaction: a new store with its standard folders; returns its row.
std::int64_t insertStore(Connection& connection, StoreKind kind, const std::u16string& displayName, Id& id);

// Creates the public store if the database has none yet.
void ensurePublicStore(Connection& connection);

// The identifier of that row.
Guid storeGuid(Connection& connection, std::int64_t row);

// Throws NotFound.
std::int64_t storeRow(Connection& connection, const Id& store);

}  // namespace fendrel::store
