// The store's file as SQLite itself sees it, while nobody uses it.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <set>

#include "world.h"

namespace model {
namespace {

using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

// The first column of all rows.
std::vector<std::string> ask(sqlite3* database, const char* sql) {
  std::vector<std::string> answers;
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(database, sql, -1, &statement, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    answers.emplace_back(text ? text : "NULL");
  }
  EXPECT_EQ(result, SQLITE_DONE) << sqlite3_errmsg(database);
  sqlite3_finalize(statement);
  return answers;
}

}  // namespace

void World::checkDatabase() {
  sqlite3* opened = nullptr;
  const std::u8string path = (files_.path() / L"store.db").u8string();
  const int result =
      sqlite3_open_v2(reinterpret_cast<const char*>(path.c_str()), &opened, SQLITE_OPEN_READWRITE, nullptr);
  const Database database(opened, sqlite3_close);
  ASSERT_EQ(result, SQLITE_OK);
  EXPECT_EQ(ask(opened, "PRAGMA integrity_check"), std::vector<std::string>{"ok"});
  EXPECT_EQ(ask(opened, "PRAGMA foreign_key_check"), std::vector<std::string>{});
  EXPECT_EQ(ask(opened, "SELECT count(*) FROM message"),
            std::vector<std::string>{std::to_string(contents_.messages.size())});
  // Each long content has its file, and every other file is recorded in dropped_file.
  std::multiset<std::string> files;
  const std::filesystem::path folder = files_.path() / L"store.db.files";  // made for the first of them
  if (std::filesystem::exists(folder))
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
      if (entry.is_regular_file()) files.insert(entry.path().filename().string());
  const std::vector<std::string> named = ask(opened,
                                             "SELECT file FROM content WHERE file IS NOT NULL "
                                             "UNION ALL SELECT name FROM dropped_file");
  EXPECT_EQ(files, std::multiset<std::string>(named.begin(), named.end()));
  EXPECT_EQ(ask(opened,
                "SELECT count(*) FROM content WHERE id NOT IN "
                "(SELECT content FROM message_property WHERE content IS NOT NULL)"),
            std::vector<std::string>{"0"});
}

}  // namespace model
