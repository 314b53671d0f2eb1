#include <sqlite3.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "connection.h"
#include "page_checksums.h"

namespace fendrel::store {

namespace {

constexpr sqlite3_int64 lockPage = 0x40000000 / databasePageSize + 1;  // SQLite's locks lie there: never written

sqlite3_file* databaseFile(sqlite3* database) {
  sqlite3_file* file = nullptr;
  checkSqlite(sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file), database,
              "Finding the store's file");
  return file;
}

using Page = std::array<std::byte, databasePageSize>;

// By the layer that compares the checksum.
bool readPage(sqlite3_file* file, std::uint32_t number, Page& page) {
  const int code = file->pMethods->xRead(file, page.data(), databasePageSize,
                                         static_cast<sqlite3_int64>(number - 1) * databasePageSize);
  if (code == SQLITE_IOERR_DATA || code == SQLITE_IOERR_SHORT_READ) return false;
  checkSqlite(code, nullptr, "Reading a page of the store");
  return true;
}

std::uint32_t pageCountIn(const Page& header) {
  std::uint32_t count = 0;
  for (std::size_t i = 28; i < 32; ++i) count = count << 8 | std::to_integer<std::uint32_t>(header[i]);
  return count;
}

}  // namespace

PageReport readEveryPage(Connection& connection) { return readEveryPage(connection.handle()); }

PageReport readEveryPage(sqlite3* database) {
  // What the log holds goes to the file as far as readers allow. Busy is no failure here: the rest stays in the log.
  // SQLite would try from a connection for reading too, and be refused by the system again and again.
  if (sqlite3_db_readonly(database, "main") == 0) {
    sqlite3_wal_checkpoint_v2(database, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  }
  sqlite3_file* file = databaseFile(database);
  sqlite3_int64 size = 0;
  checkSqlite(file->pMethods->xFileSize(file, &size), nullptr, "Measuring the store's file");
  const auto pagesInFile = static_cast<std::uint32_t>(size / databasePageSize);
  PageReport report;
  if (pagesInFile == 0) return report;  // nothing has gone from the log to the file yet
  Page page;
  const bool headerIsWhole = readPage(file, 1, page);
  report.hasChecksums = !headerIsWhole || page[20] == std::byte{reservedPageBytes};
  if (!report.hasChecksums) return report;
  // The file grows in steps, so that behind its last page there may be room that was never written.
  report.pages = headerIsWhole ? pageCountIn(page) : pagesInFile;

  std::vector<std::uint32_t> suspects;
  for (std::uint32_t number = 1; number <= std::min(report.pages, pagesInFile + 1); ++number) {
    if (number != lockPage && !readPage(file, number, page)) suspects.push_back(number);
  }
  // Another process may have been writing a page while it was read here: once more, after it has finished.
  if (!suspects.empty()) Sleep(200);
  for (const std::uint32_t number : suspects) {
    if (!readPage(file, number, page)) report.damaged.push_back(number);
  }
  return report;
}

}  // namespace fendrel::store
