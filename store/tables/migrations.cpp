#include "migrations.h"

#include "connection.h"

namespace fendrel::store {

namespace {

std::int64_t pragma(Connection& connection, const char* sql) {
  Query query(connection.statement(sql));
  query.step();
  return query->integer(0);
}

// Returns the version; inside a transaction, so that all reads see one snapshot.
std::int64_t ownVersion(Connection& connection) {
  const auto version = pragma(connection, "PRAGMA user_version");
  const auto application = pragma(connection, "PRAGMA application_id");
  const bool isEmpty =
      version == 0 && application == 0 && pragma(connection, "SELECT count(*) FROM sqlite_schema") == 0;
  if (!isEmpty && application != applicationId) {
    fail(Status::Corrupt, "The file is a database of another program, not a message store.");
  }
  return version;
}

std::int64_t acceptedVersion(Connection& connection, int latest) {
  const std::int64_t version = ownVersion(connection);
  refuseNewerVersion(version, latest);
  return version;
}

}  // namespace

int latestVersion() noexcept { return schemaMigrations().back().version; }

void refuseNewerVersion(std::int64_t version, int latest) {
  if (version <= latest) return;
  fail(Status::NewerVersion, "The store was written by a newer version of this program: it has version " +
                                 std::to_string(version) + ", this program knows versions up to " +
                                 std::to_string(latest) + ". Install the newer version.");
}

void refuseForeignDatabase(Connection& connection) {
  Transaction transaction(connection, Transaction::Read);
  ownVersion(connection);
}

void migrate(Connection& connection, std::span<const Migration> migrations) {
  const int latest = migrations.empty() ? 0 : migrations.back().version;
  {
    Transaction transaction(connection, Transaction::Read);
    if (acceptedVersion(connection, latest) == latest) return;
  }
  for (const Migration& migration : migrations) {
    Transaction transaction(connection, Transaction::Write);
    // Read again inside the transaction: another process may have migrated meanwhile.
    if (acceptedVersion(connection, latest) < migration.version) {
      connection.execute(migration.sql);
      connection.execute("PRAGMA application_id = " + std::to_string(applicationId));
      connection.execute("PRAGMA user_version = " + std::to_string(migration.version));
    }
    transaction.commit();
  }
}

}  // namespace fendrel::store
