// Upgrades a database from the version in its header (PRAGMA user_version) to the current one.
#pragma once

#include <cstdint>
#include <span>

namespace fendrel::store {

class Connection;

// The statements that upgrade from version - 1 to version.
struct Migration {
  int version;
  const char* sql;
};

// The numbered files of store/schema, in order.
std::span<const Migration> schemaMigrations() noexcept;

// The version that the last of them makes.
int latestVersion() noexcept;

// Throws NewerVersion if `version` is above `latest`.
void refuseNewerVersion(std::int64_t version, int latest);

// "Fndl": identifies our files (PRAGMA application_id).
constexpr int applicationId = 0x466E646C;

// Throws Corrupt for a database of another program; accepts an empty one. Changes nothing.
void refuseForeignDatabase(Connection& connection);

// Runs missing migrations, each in one transaction that also sets the version; several processes may do so at once.
// Throws EngineError: NewerVersion for a file of a later version, Corrupt for a database of another program, else
// SQLite's error.
void migrate(Connection& connection, std::span<const Migration> migrations);

}  // namespace fendrel::store
