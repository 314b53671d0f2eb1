#include "empty_store.h"

#include "engine_error.h"
#include "migrations.h"
#include "open_database.h"
#include "sqlite_statement.h"

namespace fendrel::store {
namespace {

DatabaseHandle openInMemory() {
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(":memory:", &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY, nullptr);
  DatabaseHandle handle(database);
  checkSqlite(code, database, "Making an empty store");
  return handle;
}

void runScripts(sqlite3* database, int version) {
  for (const Migration& migration : schemaMigrations()) {
    if (migration.version <= version) execute(database, migration.sql);
  }
}

}  // namespace

EmptyStore::EmptyStore(const StoreForm& form) : form_(form), database_(openInMemory()) {
  sqlite3* database = database_.get();
  execute(database, "PRAGMA page_size = " + std::to_string(form.pageSize));
  int reserved = form.reservedBytes;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_RESERVE_BYTES, &reserved);
  runScripts(database, form.version);
  execute(database, "PRAGMA application_id = " + std::to_string(applicationId));
  execute(database, "PRAGMA user_version = " + std::to_string(form.version));
  if (form.isCompacted) execute(database, "VACUUM");
}

Bytes EmptyStore::firstPage() const {
  sqlite3_int64 size = 0;
  struct Free {
    void operator()(unsigned char* bytes) const noexcept { sqlite3_free(bytes); }
  };
  const std::unique_ptr<unsigned char, Free> bytes(sqlite3_serialize(database_.get(), "main", &size, 0));
  if (!bytes || size < form_.pageSize) throw std::bad_alloc();
  const auto* first = reinterpret_cast<const std::byte*>(bytes.get());
  Bytes page(first, first + form_.pageSize);
  constexpr std::size_t writeVersion = 18, readVersion = 19;
  page[writeVersion] = page[readVersion] = std::byte{2};  // write-ahead log
  return page;
}

std::vector<RootPage> EmptyStore::roots() const { return rootsOf(database_.get()); }

std::vector<RootPage> rootsOf(sqlite3* database) {
  std::vector<RootPage> roots;
  Statement rows(database,
                 "SELECT rootpage, type = 'table' AND sql NOT LIKE '%WITHOUT ROWID' FROM sqlite_schema "
                 "WHERE rootpage > 0",
                 false);
  while (rows.step()) roots.push_back({static_cast<std::uint32_t>(rows.integer(0)), rows.integer(1) != 0});
  return roots;
}

std::map<std::string, std::string> schemaOf(sqlite3* database) {
  std::map<std::string, std::string> schema;
  Statement rows(database, "SELECT name, ifnull(sql, '') FROM sqlite_schema", false);
  while (rows.step()) schema.emplace(rows.text(0), rows.text(1));
  return schema;
}

std::map<std::string, std::string> schemaOfVersion(int version) {
  const DatabaseHandle database = openInMemory();
  runScripts(database.get(), version);
  return schemaOf(database.get());
}

}  // namespace fendrel::store
