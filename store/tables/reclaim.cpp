#include "reclaim.h"

#include <string>
#include <vector>

#include "connection.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

std::vector<std::string> droppedFiles(Connection& connection, FileTime before) {
  Query query(connection.statement("SELECT name FROM dropped_file WHERE time < ? "
                                   "AND NOT EXISTS (SELECT 1 FROM content WHERE file = name)"),
              before.ticks);
  std::vector<std::string> names;
  while (query.step()) names.emplace_back(query->text(0));
  return names;
}

std::uint64_t sizeOf(Disk& disk, const std::wstring& path) {
  try {
    return disk.open(path)->size();
  } catch (const EngineError&) {
    return 0;
  }
}

// Empty for an invalid name.
std::wstring fileOf(const std::string& name) {
  try {
    return contentFileName(name);
  } catch (const EngineError&) {
    return {};
  }
}

// Requires that no reader sees a row that names one of them.
Reclaimed removeDroppedFiles(Connection& connection, const std::vector<std::string>& names) {
  Reclaimed reclaimed;
  std::vector<std::string> gone;
  ContentFolder& folder = connection.contents();
  for (const std::string& name : names) {
    const std::wstring file = fileOf(name);
    const std::uint64_t size = sizeOf(folder.disk(), folder.path() + L"\\" + file);
    if (file.empty() || !folder.remove(file)) continue;
    gone.push_back(name);
    ++reclaimed.files;
    reclaimed.bytes += size;
  }
  if (gone.empty()) return reclaimed;
  folder.flushNames();  // a file that reappears after a power cut would have no record
  Transaction transaction(connection, Transaction::Write);
  for (const std::string& name : gone) {
    Query(connection.statement("DELETE FROM dropped_file WHERE name = ?"), std::string_view(name)).run();
  }
  transaction.commit();
  return reclaimed;
}

// In a write transaction, so that no row is inserted or deleted meanwhile.
Reclaimed removeUnnamedFiles(Connection& connection) {
  Reclaimed reclaimed;
  ContentFolder& folder = connection.contents();
  Transaction transaction(connection, Transaction::Write);
  for (const Disk::Entry& entry : folder.files()) {
    if (!isOlderThanGrace(entry.modified)) continue;
    const std::string name = toUtf8(entry.name);
    Query named(connection.statement("SELECT 1 FROM content WHERE file = ?1 "
                                     "UNION ALL SELECT 1 FROM dropped_file WHERE name = ?1"),
                std::string_view(name));
    if (named.step()) continue;
    const std::uint64_t size = sizeOf(folder.disk(), folder.path() + L"\\" + entry.name);
    if (!folder.remove(entry.name)) continue;
    ++reclaimed.files;
    reclaimed.bytes += size;
  }
  return reclaimed;
}

// Opening a store must not wait because of orphans.
class NoWaiting {
 public:
  explicit NoWaiting(Connection& connection) : connection_(connection) {
    sqlite3_busy_handler(connection.handle(), nullptr, nullptr);
  }
  ~NoWaiting() { connection_.waitForOthers(); }
  NoWaiting(const NoWaiting&) = delete;
  NoWaiting& operator=(const NoWaiting&) = delete;

 private:
  Connection& connection_;
};

}  // namespace

void reclaimLeftovers(Connection& connection) {
  connection.contents().removeStaleTemporaryFiles();
  try {
    const auto names = droppedFiles(connection, {now().ticks - graceTime});
    if (names.empty()) return;
    const NoWaiting noWaiting(connection);
    if (isLogDone(connection.handle())) removeDroppedFiles(connection, names);
  } catch (const EngineError&) {  // the next open tries again
  }
}

Reclaimed reclaimEverything(Connection& connection) {
  connection.contents().removeStaleTemporaryFiles();
  const auto names = droppedFiles(connection, {~std::uint64_t{0} >> 1});
  if (!isLogDone(connection.handle())) return {};
  const Reclaimed dropped = removeDroppedFiles(connection, names);
  const Reclaimed unnamed = removeUnnamedFiles(connection);
  return {dropped.files + unnamed.files, dropped.bytes + unnamed.bytes};
}

}  // namespace fendrel::store
