#include "sample_store.h"

#include <cstdlib>

#include "connection.h"
#include "engine_fixture.h"
#include "migrations.h"
#include "reclaim.h"

namespace fendrel::store {

std::unique_ptr<Database> openOn(SimulatedDisk& disk) {
  std::unique_ptr<Database> opened;
  std::string error;
  const Status status = openOnDisk(storePath, disk, true, opened, error);
  if (!disk.isCut()) {
    EXPECT_EQ(status, Status::Ok) << error;
  }
  return opened;
}

std::vector<Expected> noSamples() { return {}; }
std::vector<Expected> oldSamples() {
  return {{{u"small", {smallSize}}, Fate::Present},
          {{u"with blob", {blobSize, smallSize}}, Fate::Present},
          {{u"with a file", {fileSize}}, Fate::Present}};
}

DiskImage emptyDisk() { return {{L"C:\\simulated"}, {}}; }

DiskImage storeWithSamples() {
  static const DiskImage image = [] {
    SimulatedDisk disk(emptyDisk());
    {
      const auto database = openOn(disk);
      for (const Expected& sample : oldSamples()) EXPECT_EQ(post(*database, sample.sample), Status::Ok);
    }
    return disk.now();
  }();
  return image;
}

DiskImage storeOfVersion1() {
  SimulatedDisk disk({{L"C:\\simulated", L"C:\\simulated\\reports"}, {}});
  sqlite3* raw = nullptr;
  const std::string path(storePath.begin(), storePath.end());
  EXPECT_EQ(sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, disk.sqliteLayer()),
            SQLITE_OK);
  const std::string sql =
      "PRAGMA page_size = 16384; PRAGMA journal_mode = WAL; BEGIN;" + std::string(schemaMigrations()[0].sql) +
      "PRAGMA application_id = " + std::to_string(applicationId) + "; PRAGMA user_version = 1; COMMIT;";
  EXPECT_EQ(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(raw);
  sqlite3_close(raw);
  return disk.now();
}

DiskImage oldStore() {
  static const DiskImage image = [] {
    SimulatedDisk disk(storeOfVersion1());
    {
      const auto database = openOn(disk);
      for (const Expected& sample : oldSamples()) EXPECT_EQ(post(*database, sample.sample), Status::Ok);
      database->connection().execute(
          "ALTER TABLE profile DROP COLUMN server_url; ALTER TABLE profile DROP COLUMN server_user;"
          "ALTER TABLE profile DROP COLUMN server_secret;"
          "ALTER TABLE profile DROP COLUMN server_public_account;"
          "ALTER TABLE profile DROP COLUMN server_tls_ca_file;"
          "DROP TABLE named_property; ALTER TABLE message DROP COLUMN status;"
          "DROP TRIGGER message_changed; DROP TRIGGER content_deleted;"
          "DROP TABLE dropped_file; ALTER TABLE message DROP COLUMN checksum;"
          "PRAGMA user_version = 1");
    }
    return disk.now();
  }();
  return image;
}

std::string integrityOf(Database& database) {
  Query check(database.connection().statement("PRAGMA integrity_check"));
  return check.step() ? std::string(check->text(0)) : "no answer";
}

std::vector<std::string> judge(DiskImage image, const std::vector<Expected>& expected, bool repeat) {
  SimulatedDisk disk(std::move(image));
  std::unique_ptr<Database> database;
  std::string error;
  if (openOnDisk(storePath, disk, true, database, error) != Status::Ok) return {"it does not open: " + error};
  auto wrong = differences(*database, expected);
  Connection& connection = database->connection();
  try {
    if (const auto verdict = integrityOf(*database); verdict != "ok") wrong.push_back("integrity_check: " + verdict);
    reclaimEverything(connection);
    Query files(connection.statement("SELECT count(*) FROM content WHERE file IS NOT NULL"));
    files.step();
    if (static_cast<std::size_t>(files->integer(0)) != disk.list(contentPath).size()) {
      wrong.push_back("files are left over");
    }
  } catch (const EngineError& failure) {
    wrong.push_back(failure.text);
  }
  if (!disk.list(contentPath + L"\\tmp").empty()) wrong.push_back("temporary files are left over");
  if (repeat && post(*database, {u"after the cut", {fileSize}}) != Status::Ok) {
    wrong.push_back("posting fails: " + database->lastError());
  }
  return wrong;
}

std::uint64_t seedOfRun() {
  const char* given = std::getenv("FENDREL_TEST_SEED");
  return given ? std::strtoull(given, nullptr, 10) : 20260101;
}

}  // namespace fendrel::store
