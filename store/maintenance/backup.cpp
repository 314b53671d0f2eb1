// Copies a snapshot while others post and delete.
//   1. Copies the content files that the database names. They never change; one deleted meanwhile is not needed.
//   2. Starts a read transaction, which fixes the snapshot. From now on nobody deletes a content file that it names.
//   3. Copies files posted during the first, long pass; deletes files that the snapshot does not name from the copy.
//   4. Copies the snapshot of the database page by page under a temporary name, and renames it last.
#include "backup.h"

#include <map>
#include <set>

#include "content_table.h"
#include "database.h"
#include "failure_border.h"
#include "message_checksum.h"
#include "new_store.h"
#include "open_database.h"
#include "reading_connection.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

class Backup {
 public:
  Backup(const std::wstring& from, const std::wstring& to, Disk& disk, const Watch& watch)
      : disk_(disk), store_(from, disk_), copy_(to, disk_), watch_(watch) {}

  BackupResult run() {
    pageBytes_ = static_cast<std::uint64_t>(store_.number("PRAGMA page_size"));
    databaseBytes_ = static_cast<std::uint64_t>(store_.number("PRAGMA page_count")) * pageBytes_;
    copyFiles(Unreadable::isPassedOver);
    store_.keepMoment();
    copyFiles(Unreadable::isDamage);
    removeUnnamed();
    compareRows();
    result_.messages = static_cast<std::uint64_t>(store_.number("SELECT count(*) FROM message"));
    copyPages();
    result_.databaseBytes = fileSize(disk_, copy_.database());
    copy_.finish();
    return result_;
  }

 private:
  // Before the snapshot is fixed, an unreadable file may have been deleted since its row was read.
  enum class Unreadable { isPassedOver, isDamage };

  std::vector<std::int64_t> rowsToCopy() {
    std::vector<std::int64_t> rows;
    Statement named = store_.statement("SELECT id, file, size FROM content WHERE file IS NOT NULL");
    contentBytes_ = 0;
    while (named.step()) {
      contentBytes_ += static_cast<std::uint64_t>(named.integer(2));
      if (!copied_.contains(std::string(named.text(1)))) rows.push_back(named.integer(0));
    }
    return rows;
  }

  void copyFiles(Unreadable unreadable) {
    for (const std::int64_t row : rowsToCopy()) {
      try {
        Statement content = store_.statement(selectContent);
        content.bind(1, row);
        if (content.step()) copyFile(*contentAt(content, store_.contents()));
      } catch (const EngineError& error) {
        if (error.status != Status::Corrupt) throw;
        if (unreadable == Unreadable::isDamage) failDamaged(error.text);
      }
    }
  }

  void copyFile(ContentSource& source) {
    const std::string& name = source.fileName();
    auto into = copy_.createContent(name);
    std::uint64_t position = 0;
    try {
      source.readAll([&](std::span<const std::byte> block) {
        into->write(position, block);
        position += block.size();
        doneBytes_ += block.size();
        report(watch_, doneBytes_, databaseBytes_ + contentBytes_);
      });
    } catch (const EngineError&) {
      into.reset();
      copy_.removeContent(name);
      throw;
    }
    into->flush();
    copied_[name] = source.size();
  }

  void removeUnnamed() {
    std::set<std::string> named;
    Statement rows = store_.statement("SELECT file FROM content WHERE file IS NOT NULL");
    while (rows.step()) named.emplace(rows.text(0));
    for (const auto& [name, size] : copied_) {
      if (named.contains(name)) {
        ++result_.contentFiles;
        result_.contentFileBytes += size;
      } else {
        copy_.removeContent(name);
      }
    }
  }

  // A damaged copy would be worse than none.
  void compareRows() {
    Statement check = store_.statement("PRAGMA integrity_check(1)");
    if (!check.step() || check.text(0) != "ok") failDamaged("The database: " + std::string(check.text(0)) + ".");
    if (store_.version() < versionWithChecksums) return;
    MessageChecksum checksum(store_.handle());
    Statement messages = store_.statement("SELECT id FROM message");
    while (messages.step()) {
      if (!checksum.matches(messages.integer(0))) failDamaged("A message does not match its checksum.");
    }
  }

  [[noreturn]] static void failDamaged(const std::string& what) {
    fail(Status::Corrupt,
         "The store is damaged and was not copied: " + what +
             " \"fendrel store check\" shows all damage, and \"fendrel store salvage\" recovers undamaged messages.");
  }

  void copyPages() {
    disk_.createPrivateFile(copy_.database());
    constexpr int pagesAtOnce = 64;
    struct Finish {
      void operator()(sqlite3_backup* backup) const noexcept { sqlite3_backup_finish(backup); }
    };
    const DatabaseHandle into = openDatabase(copy_.database(), disk_, SQLITE_OPEN_READWRITE);
    std::unique_ptr<sqlite3_backup, Finish> backup(sqlite3_backup_init(into.get(), "main", store_.handle(), "main"));
    if (!backup) checkSqlite(sqlite3_errcode(into.get()), into.get(), "Copying the database");
    int code = SQLITE_OK;
    while ((code = sqlite3_backup_step(backup.get(), pagesAtOnce)) == SQLITE_OK) {
      const auto pages = static_cast<std::uint64_t>(sqlite3_backup_pagecount(backup.get()));
      const auto left = static_cast<std::uint64_t>(sqlite3_backup_remaining(backup.get()));
      const std::uint64_t bytes = pages == 0 ? 0 : (pages - left) * pageBytes_;
      report(watch_, doneBytes_ + bytes, databaseBytes_ + contentBytes_);
    }
    if (code != SQLITE_DONE) {
      if (statusOfSqlite(code) == Status::Corrupt) failDamaged("A page of the database cannot be read.");
      checkSqlite(code, nullptr, "Copying the database");
    }
    checkSqlite(sqlite3_backup_finish(backup.release()), nullptr, "Copying the database");
  }

  Disk& disk_;
  ReadingConnection store_;
  NewStore copy_;
  const Watch& watch_;
  std::map<std::string, std::uint64_t> copied_;  // name, bytes
  std::uint64_t pageBytes_ = 0, databaseBytes_ = 0, contentBytes_ = 0, doneBytes_ = 0;
  BackupResult result_;
};

}  // namespace

BackupResult backupOnDisk(const std::wstring& from, const std::wstring& to, Disk& disk, const Watch& watch) {
  return maintained([&] { return Backup(from, to, disk, watch).run(); });
}

BackupResult backupStore(const std::wstring& from, const std::wstring& to, const Watch& watch) {
  return backupOnDisk(from, to, windowsDisk(), watch);
}

}  // namespace fendrel::store
