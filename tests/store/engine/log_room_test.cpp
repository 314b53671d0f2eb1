// The log keeps its length when it is empty, and what it held before does not come back.
#include "log_room.h"

#include <windows.h>

#include <filesystem>
#include <fstream>

#include "checked_log.h"
#include "connection.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

class LogRoomTest : public EngineTest {
protected:
  std::wstring log() const { return path() + L"-wal"; }
  std::uint64_t length() const { return std::filesystem::file_size(log()); }

  bool isMarkedEmpty() const {
    std::string header(emptyLogMark.size(), ' ');
    std::ifstream(std::filesystem::path(log()), std::ios::binary).read(header.data(), emptyLogMark.size());
    return header == emptyLogMark;
  }

  static const std::uint64_t room;
};

const std::uint64_t LogRoomTest::room = windowsDisk().logRoom();

TEST_F(LogRoomTest, NewStoreHasIt) {
  ASSERT_GT(room, 0u);
  EXPECT_EQ(length(), room);
}

TEST_F(LogRoomTest, StaysWhenTheLastOneCloses) {
  save(draftWith(top, u"m"));
  EXPECT_FALSE(isMarkedEmpty());
  database.reset();
  EXPECT_EQ(length(), room);
  EXPECT_TRUE(isMarkedEmpty());
}

// Everything is in the database: without its log it says the same.
TEST_F(LogRoomTest, EmptyLogIsNotNeeded) {
  save(draftWith(top, u"m"));
  database.reset();
  std::filesystem::remove(log());
  reopen();
  EXPECT_EQ(subjectsIn(top), (std::vector<std::u16string>{u"m"}));
  EXPECT_EQ(length(), room) << "made again";
}

// The frames of the first message stand in the log still, behind those of the change that removed it.
TEST_F(LogRoomTest, OldFramesDoNotComeBack) {
  const MessageInfo message = save(draftWith(top, u"goes"));
  database.reset();
  reopen();
  EXPECT_EQ(deleteMessage(*database, message.id), Status::Ok);
  const std::wstring copy = temp.file(L"copy.db");
  std::filesystem::copy_file(path(), copy);  // as after a crash
  std::filesystem::copy_file(log(), copy + L"-wal");
  database.reset();
  std::filesystem::rename(copy, path());
  std::filesystem::rename(copy + L"-wal", log());
  std::filesystem::remove(path() + L"-shm");
  reopen();
  EXPECT_TRUE(subjectsIn(top).empty());
  save(draftWith(top, u"new"));
  EXPECT_EQ(subjectsIn(top), (std::vector<std::u16string>{u"new"}));
}

TEST_F(LogRoomTest, LogBeginsAnewBeforeItOutgrowsIt) {
  for (int i = 0; i < 100; ++i) save(draftWithAttachment(top, pattern(60'000)));
  EXPECT_EQ(length(), room);
}

TEST_F(LogRoomTest, LogOfALongTransactionIsCutToIt) {
  Connection& connection = database->connection();
  connection.execute("BEGIN IMMEDIATE");
  connection.execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 120) "
                     "INSERT INTO content (size, checksums, data) SELECT 100000, x'', zeroblob(100000) FROM n");
  connection.execute("COMMIT");
  EXPECT_GT(length(), room);
  database.reset();
  EXPECT_EQ(length(), room);
  EXPECT_TRUE(isMarkedEmpty());
}

TEST_F(LogRoomTest, NoneIsMadeWhileAnotherWrites) {
  const auto other = openAnother();
  setLogRoom(other->connection().handle(), 0);
  other->connection().execute("PRAGMA wal_checkpoint(TRUNCATE)");
  ASSERT_EQ(length(), 0u);
  other->connection().execute("BEGIN IMMEDIATE");
  const auto start = GetTickCount64();
  const auto third = openAnother();
  EXPECT_LT(GetTickCount64() - start, static_cast<ULONGLONG>(busyTimeout)) << "it waited";
  EXPECT_EQ(length(), 0u);
  other->connection().execute("ROLLBACK");
  const auto fourth = openAnother();
  EXPECT_EQ(length(), room);
}

}  // namespace
}  // namespace fendrel::store
