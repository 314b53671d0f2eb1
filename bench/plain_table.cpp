#include "plain_table.h"

#include <sqlite3.h>

#include "bench_store.h"
#include "timing.h"

namespace fendrel::bench {
namespace {

std::vector<char> contentOf(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  LARGE_INTEGER size{};
  require(GetFileSizeEx(file, &size) ? S_OK : MAPI_E_NOT_FOUND, "opening an input file");
  std::vector<char> content(static_cast<std::size_t>(size.QuadPart));
  DWORD read = 0;
  require(ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &read, nullptr) ? S_OK : E_FAIL,
          "reading an input file");
  CloseHandle(file);
  return content;
}

}  // namespace

double insertIntoPlainTable(const std::wstring& path, const std::vector<std::wstring>& files) {
  sqlite3* database = nullptr;
  sqlite3_stmt* insert = nullptr;
  const auto check = [&](int result) {
    require(result == SQLITE_OK || result == SQLITE_DONE ? S_OK : E_FAIL, sqlite3_errmsg(database));
  };
  check(sqlite3_open16(path.c_str(), &database));
  check(sqlite3_exec(database,
                     "PRAGMA page_size = 8192; PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
                     "CREATE TABLE report (id INTEGER PRIMARY KEY, data BLOB)",
                     nullptr, nullptr, nullptr));
  check(sqlite3_prepare_v2(database, "INSERT INTO report (data) VALUES (?)", -1, &insert, nullptr));
  const double milliseconds = millisecondsOf([&] {
    for (const std::wstring& file : files) {
      const std::vector<char> content = contentOf(file);
      check(sqlite3_bind_blob(insert, 1, content.data(), static_cast<int>(content.size()), SQLITE_STATIC));
      check(sqlite3_step(insert));
      check(sqlite3_reset(insert));
    }
  });
  sqlite3_finalize(insert);
  sqlite3_close(database);
  return milliseconds;
}

}  // namespace fendrel::bench
