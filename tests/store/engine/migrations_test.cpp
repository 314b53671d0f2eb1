#include "migrations.h"

#include "connection.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

class MigrationsTest : public testing::Test {
 protected:
  std::unique_ptr<Connection> connect() {
    windowsDisk().createPrivateFile(temp.file(L"m.db"));
    return std::make_unique<Connection>(temp.file(L"m.db"), windowsDisk());
  }
  static std::int64_t ask(Connection& connection, const char* sql) {
    Query query(connection.statement(sql));
    EXPECT_TRUE(query.step());
    return query->integer(0);
  }
  static Status statusOf(Connection& connection, std::span<const Migration> migrations) {
    try {
      migrate(connection, migrations);
      return Status::Ok;
    } catch (const EngineError& error) {
      return error.status;
    }
  }
  TempFolder temp;
};

constexpr Migration firstSteps[] = {{1, "CREATE TABLE a (x INTEGER) STRICT; INSERT INTO a VALUES (7);"}};
constexpr Migration both[] = {firstSteps[0], {2, "ALTER TABLE a ADD COLUMN y TEXT; UPDATE a SET y = 'new';"}};

TEST_F(MigrationsTest, OlderVersionIsBroughtForwardWithItsRows) {
  migrate(*connect(), firstSteps);
  const auto connection = connect();
  migrate(*connection, both);
  EXPECT_EQ(ask(*connection, "PRAGMA user_version"), 2);
  EXPECT_EQ(ask(*connection, "SELECT count(*) FROM a WHERE x = 7 AND y = 'new'"), 1);
}

TEST_F(MigrationsTest, EachRunsOnce) {
  const auto connection = connect();
  migrate(*connection, both);
  migrate(*connection, both);
  EXPECT_EQ(ask(*connection, "SELECT count(*) FROM a"), 1);
}

TEST_F(MigrationsTest, FailingOneLeavesTheOlderVersionWhole) {
  constexpr Migration failing[] = {
      firstSteps[0], {2, "CREATE TABLE b (x); INSERT INTO a VALUES (8); INSERT INTO nowhere VALUES (1);"}};
  migrate(*connect(), firstSteps);
  const auto connection = connect();
  EXPECT_EQ(statusOf(*connection, failing), Status::Failed);
  EXPECT_EQ(ask(*connection, "PRAGMA user_version"), 1);
  EXPECT_EQ(ask(*connection, "SELECT count(*) FROM a"), 1);
  EXPECT_EQ(ask(*connection, "SELECT count(*) FROM sqlite_schema WHERE name = 'b'"), 0);
  EXPECT_EQ(statusOf(*connection, both), Status::Ok) << "the repaired program can go on";
}

TEST_F(MigrationsTest, NewerVersionIsRefusedWithBothNumbers) {
  const auto connection = connect();
  migrate(*connection, both);
  try {
    migrate(*connection, firstSteps);
    FAIL() << "accepted";
  } catch (const EngineError& error) {
    EXPECT_EQ(error.status, Status::NewerVersion);
    EXPECT_NE(error.text.find("version 2"), std::string::npos) << error.text;
  }
}

TEST_F(MigrationsTest, StoreOfANewerProgramIsRefusedUnchanged) {
  const std::wstring path = temp.file(L"newer.db");
  std::unique_ptr<Database> opened;
  std::string error;
  ASSERT_EQ(Database::open(path, opened, error), Status::Ok) << error;
  opened->connection().execute("PRAGMA user_version = 999");
  ASSERT_EQ(Database::open(path, opened, error), Status::NewerVersion);
  EXPECT_FALSE(opened);
  EXPECT_NE(error.find("newer version"), std::string::npos) << error;
  Connection look(path, windowsDisk());
  EXPECT_EQ(ask(look, "PRAGMA user_version"), 999);
}

TEST_F(MigrationsTest, SchemaFilesAreNumberedFromOneWithoutGaps) {
  int expected = 0;
  for (const Migration& migration : schemaMigrations()) EXPECT_EQ(migration.version, ++expected);
  EXPECT_GE(expected, 1);
}

}  // namespace
}  // namespace fendrel::store
