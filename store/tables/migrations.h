// Brings a database from the version in its header (PRAGMA user_version) to the present one.
#pragma once

#include <span>

namespace fendrel::store {

class Connection;

// The statements that lead from version - 1 to version.
struct Migration {
  int version;
  const char* sql;
};

// The numbered files of store/schema, in order.
std::span<const Migration> schemaMigrations() noexcept;

// "Fndl": marks the file as ours (PRAGMA application_id).
constexpr int applicationId = 0x466E646C;

// Throws Corrupt for a database of another program; an empty one is fine. Changes nothing.
void refuseForeignDatabase(Connection& connection);

// Runs what is missing, each migration in one transaction that also raises the version; several processes may do so
// at once. Throws EngineError: NewerVersion for a file of a later version, Corrupt for a database of another
// program, else what SQLite says.
void migrate(Connection& connection, std::span<const Migration> migrations);

}  // namespace fendrel::store
