#include "first_page.h"

#include <sqlite3.h>

#include <cstring>
#include <memory>
#include <string>

#include "engine_error.h"
#include "migrations.h"
#include "page_checksums.h"
#include "sqlite_statement.h"

namespace fendrel::store {

namespace {

struct Close {
  void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
};
struct Free {
  void operator()(unsigned char* bytes) const noexcept { sqlite3_free(bytes); }
};

// In the database's header: which form of journal writers and readers use.
constexpr std::size_t writeVersionOffset = 18, readVersionOffset = 19;
constexpr std::byte writeAheadLog{2};

}  // namespace

Bytes firstPage() {
  constexpr const char* doing = "Making an empty store";
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY, nullptr);
  const std::unique_ptr<sqlite3, Close> database(opened);
  checkSqlite(code, opened, doing);
  const auto run = [&](const std::string& sql) {
    checkSqlite(sqlite3_exec(opened, sql.c_str(), nullptr, nullptr, nullptr), opened, doing);
  };
  run("PRAGMA page_size = " + std::to_string(databasePageSize));
  int reserved = reservedPageBytes;
  sqlite3_file_control(opened, "main", SQLITE_FCNTL_RESERVE_BYTES, &reserved);
  run("PRAGMA application_id = " + std::to_string(applicationId));
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, Free> image(sqlite3_serialize(opened, "main", &size, 0));
  if (!image) throw std::bad_alloc();
  if (size != databasePageSize) fail(Status::Failed, "An empty store is not one page long.");
  Bytes page(static_cast<std::size_t>(size));
  std::memcpy(page.data(), image.get(), page.size());
  page[writeVersionOffset] = page[readVersionOffset] = writeAheadLog;
  stampPage(page, 1);
  return page;
}

}  // namespace fendrel::store
