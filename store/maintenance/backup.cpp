// A copy of one moment, while others post and delete.
//
//   1. Content files are copied as the database names them at the time, without any lock. They never change; one that
//      is deleted meanwhile is of no interest any more.
//   2. Once more, so that only what was posted during the first, long pass is left to do.
//   3. Under the write lock: the moment is fixed by beginning to read, and what is not copied yet is opened. Nobody can
//      delete a content file that this moment names before the lock is given back, and an open file goes on to be read.
//   4. What was opened is copied; what this moment does not name is deleted from the copy.
//   5. The database is copied page by page as of that moment, under a name of its own, which it loses last.
#include <windows.h>

#include <map>
#include <set>

#include "content_check.h"
#include "database.h"
#include "failure_border.h"
#include "new_store.h"
#include "page_checksums.h"
#include "reading_connection.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

struct CloseDatabase {
  void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
};
using DatabaseHandle = std::unique_ptr<sqlite3, CloseDatabase>;

DatabaseHandle openDatabase(const std::wstring& path, Disk& disk, int flags) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(toUtf8(path).c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
                                   checkedLayer(disk.sqliteLayer()));
  DatabaseHandle database(opened);
  checkSqlite(code, opened, "Opening a database");
  sqlite3_busy_timeout(opened, busyTimeout);
  return database;
}

// Keeps everyone else from changing the store. Where the store may not be written nobody does, and none is taken.
class WriteLock {
public:
  explicit WriteLock(ReadingConnection& store) {
    try {
      database_ = openDatabase(store.path(), store.disk(), SQLITE_OPEN_READWRITE);
      int keepLog = 1;
      sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_PERSIST_WAL, &keepLog);
      sqlite3_db_config(database_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
      checkSqlite(sqlite3_exec(database_.get(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), database_.get(),
                  "Locking the store");
    } catch (const EngineError& error) {
      if (error.status != Status::NoAccess) throw;
    }
  }

private:
  DatabaseHandle database_;  // closing it gives the lock back
};

struct ContentFile {
  std::string name;
  std::uint64_t size = 0;
  Bytes checksums;
};

class Backup {
public:
  Backup(const std::wstring& from, const std::wstring& to, const Watch& watch)
      : disk_(windowsDisk()), store_(from, disk_), copy_(to, disk_), watch_(watch) {}

  BackupResult run() {
    databaseBytes_ = static_cast<std::uint64_t>(store_.number("PRAGMA page_count")) *
                     static_cast<std::uint64_t>(store_.number("PRAGMA page_size"));
    for (int pass = 0; pass < 2; ++pass) copyAsNamedNow();
    copyAsOfTheMoment();
    copyDatabase();
    copy_.keep();
    return result_;
  }

private:
  std::vector<ContentFile> namedFiles() {
    std::vector<ContentFile> files;
    Statement rows = store_.statement("SELECT file, size, checksums FROM content WHERE file IS NOT NULL");
    std::uint64_t bytes = 0;
    while (rows.step()) {
      const auto size = static_cast<std::uint64_t>(rows.integer(1));
      bytes += size;
      std::string name(rows.text(0));
      if (copied_.contains(name)) continue;
      const auto checksums = rows.bytes(2);
      files.push_back({std::move(name), size, Bytes(checksums.begin(), checksums.end())});
    }
    contentBytes_ = bytes;
    return files;
  }

  void copyAsNamedNow() {
    for (const ContentFile& file : namedFiles()) {
      try {
        const auto opened = openContentFile(disk_, store_.contentFolder(), file.name);
        copyFile(*opened, file);
      } catch (const EngineError& error) {
        if (error.status != Status::NotFound) throw;
      }
    }
  }

  void copyAsOfTheMoment() {
    std::vector<std::pair<ContentFile, std::unique_ptr<DiskFile>>> left;
    {
      const WriteLock lock(store_);
      store_.keepMoment();
      for (ContentFile& file : namedFiles()) {
        try {
          auto opened = openContentFile(disk_, store_.contentFolder(), file.name);
          left.emplace_back(std::move(file), std::move(opened));
        } catch (const EngineError& error) {
          if (error.status != Status::NotFound) throw;
          failDamaged("The content file '" + file.name + "' is missing.");
        }
      }
    }
    for (auto& [file, opened] : left) {
      copyFile(*opened, file);
      opened.reset();
    }
    removeUnnamed();
    result_.messages = static_cast<std::uint64_t>(store_.number("SELECT count(*) FROM message"));
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
    if (!copied_.empty()) disk_.flushFolder(copy_.contentFolder());
  }

  void copyFile(DiskFile& from, const ContentFile& file) {
    const auto into = copy_.createContent(file.name);
    std::uint64_t position = 0;
    try {
      readContentFile(from, file.name, file.size, file.checksums, [&](std::span<const std::byte> block) {
        into->write(position, block);
        position += block.size();
        doneBytes_ += block.size();
        report(watch_, doneBytes_, databaseBytes_ + contentBytes_);
      });
    } catch (const EngineError& error) {
      if (error.status == Status::Corrupt) failDamaged(error.text);
      throw;
    }
    into->flush();
    copied_[file.name] = file.size;
  }

  [[noreturn]] static void failDamaged(const std::string& what) {
    fail(Status::Corrupt, "The store is damaged and was not copied: " + what +
                              " \"fendrel store check\" shows what else, \"fendrel store salvage\" copies what is "
                              "whole.");
  }

  void copyDatabase() {
    const std::wstring part = copy_.path() + L".part";
    disk_.createPrivateFile(part);
    {
      const DatabaseHandle into = openDatabase(part, disk_, SQLITE_OPEN_READWRITE);
      copyPages(into.get());
    }
    const std::wstring folder = copy_.path().substr(0, copy_.path().find_last_of(L"\\/"));
    if (!MoveFileExW(part.c_str(), copy_.path().c_str(), MOVEFILE_WRITE_THROUGH)) {
      fail(statusOfWindows(GetLastError()), "The copy cannot be given its name '" + toUtf8(copy_.path()) + "'.");
    }
    disk_.flushFolder(folder);
    result_.databaseBytes = fileSize(disk_, copy_.path());
  }

  void copyPages(sqlite3* into) {
    constexpr int pagesAtOnce = 64;
    struct Finish {
      void operator()(sqlite3_backup* backup) const noexcept { sqlite3_backup_finish(backup); }
    };
    std::unique_ptr<sqlite3_backup, Finish> backup(sqlite3_backup_init(into, "main", store_.handle(), "main"));
    if (!backup) checkSqlite(sqlite3_errcode(into), into, "Copying the database");
    int code = SQLITE_OK;
    while ((code = sqlite3_backup_step(backup.get(), pagesAtOnce)) == SQLITE_OK) {
      const auto pages = static_cast<std::uint64_t>(sqlite3_backup_pagecount(backup.get()));
      const auto left = static_cast<std::uint64_t>(sqlite3_backup_remaining(backup.get()));
      const std::uint64_t bytes = pages == 0 ? 0 : (pages - left) * databasePageSize;
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
  std::uint64_t databaseBytes_ = 0, contentBytes_ = 0, doneBytes_ = 0;
  BackupResult result_;
};

}  // namespace

BackupResult backupStore(const std::wstring& from, const std::wstring& to, const Watch& watch) {
  return maintained([&] { return Backup(from, to, watch).run(); });
}

}  // namespace fendrel::store
