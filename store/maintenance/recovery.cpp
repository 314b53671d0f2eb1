#include "recovery.h"

#include <sqlite3recover.h>

#include <memory>

#include "engine_error.h"
#include "failure_border.h"
#include "lost_rows.h"
#include "migrations.h"
#include "open_database.h"
#include "reading_connection.h"
#include "sqlite_statement.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

struct Finish {
  void operator()(sqlite3_recover* recover) const noexcept { sqlite3_recover_finish(recover); }
};

[[noreturn]] void failRecovery(sqlite3_recover* recover) {
  const int code = sqlite3_recover_errcode(recover);
  if (code == SQLITE_NOMEM) {
    fail(Status::Corrupt,
         "SQLite's recovery asked for more memory than there is. A changed length in a damaged store can "
         "make it do so.");
  }
  const char* words = sqlite3_recover_errmsg(recover);
  fail(statusOfSqlite(code), std::string("SQLite's recovery of the store failed: ") + (words ? words : "no message") +
                                 " (SQLite code " + std::to_string(code) + ").");
}

}  // namespace

void recoverRows(const DamagedCopy& copy, const std::wstring& path, Disk& disk, const Watch& watch) {
  if (!sqlite3_compileoption_used("ENABLE_DBPAGE_VTAB")) {
    fail(Status::Failed,
         "The SQLite library of this program was built without SQLITE_ENABLE_DBPAGE_VTAB, which its "
         "recovery needs.");
  }
  const std::string output = toUtf8(uriOf(path)) + "?vfs=" + disk.sqliteLayer();
  const std::unique_ptr<sqlite3_recover, Finish> recover(sqlite3_recover_init(copy.handle(), "main", output.c_str()));
  if (!recover) throw std::bad_alloc();
  char lostAndFound[] = "lost_and_found";
  sqlite3_recover_config(recover.get(), SQLITE_RECOVER_LOST_AND_FOUND, lostAndFound);
  constexpr int stepsBetweenReports = 1000;
  int code = SQLITE_OK;
  for (int step = 0; code == SQLITE_OK; ++step) {
    if (step % stepsBetweenReports == 0) report(watch, 0, 0);
    code = sqlite3_recover_step(recover.get());
  }
  if (code != SQLITE_DONE) failRecovery(recover.get());

  const DatabaseHandle found = openDatabase(path, disk, SQLITE_OPEN_READWRITE);
  execute(found.get(), "PRAGMA foreign_keys = OFF; BEGIN");
  for (const Migration& migration : schemaMigrations()) {
    if (migration.version > copy.version()) execute(found.get(), migration.sql);
  }
  sortLostRows(found.get());
  execute(found.get(), "PRAGMA application_id = " + std::to_string(applicationId) +
                           "; PRAGMA user_version = " + std::to_string(latestVersion()) + "; COMMIT");
  // So that readers do not block a transaction that deletes rows.
  execute(found.get(), "PRAGMA journal_mode = WAL");
}

}  // namespace fendrel::store
