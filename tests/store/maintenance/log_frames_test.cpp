// A log that a crash left: what lies behind damage in it is told, what was never finished is none.
#include "log_frames.h"
#include "maintenance_fixture.h"

namespace fendrel::store {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

constexpr std::size_t logHeader = 32, frameSize = 24 + 16384;

class LogFramesTest : public MaintenanceTest {
protected:
  // A crash after five posts, and where each of their commits ends in the log.
  void postAndCrash() {
    reports = makeFolder(u"Reports");
    sqlite3_wal_checkpoint_v2(database->connection().handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    for (int i = 0; i < 5; ++i) {
      save(draftWith(reports, u"m", 30'000));
      ends.push_back(endOfFrames());
    }
    crash();
  }

  // Behind them the log holds what it held before.
  std::size_t endOfFrames() const {
    std::uint64_t end = logHeader;
    for (const auto& [page, place] : readLogFrames(windowsDisk(), path()).pages) end = std::max(end, place + 16384);
    return static_cast<std::size_t>(end);
  }

  std::wstring log() const { return path() + L"-wal"; }

  std::vector<std::size_t> ends;
};

TEST_F(LogFramesTest, WholeLogHasNothingBehindDamage) {
  postAndCrash();
  const LogFrames frames = readLogFrames(windowsDisk(), path());
  EXPECT_EQ(frames.behindDamage, 0u);
  EXPECT_GT(frames.pages.size(), 10u);
  const CheckResult result = checked();
  EXPECT_THAT(result.damage, IsEmpty());
  EXPECT_EQ(result.messages, 5u);
}

// Wherever in the third commit the damage is, the fourth and fifth are behind it.
TEST_F(LogFramesTest, SavedMessagesBehindDamageAreTold) {
  postAndCrash();
  const auto whole = read(log());
  const auto behind = static_cast<std::uint32_t>((ends[4] - ends[2]) / frameSize);
  // The last frame of the commit: number, mark, salt, sum, page.
  for (const std::size_t at : {0, 5, 9, 17, 24, 9000}) {
    write(log(), whole);
    flip(log(), ends[2] - frameSize + at);
    const std::uint32_t found = readLogFrames(windowsDisk(), path()).behindDamage;
    EXPECT_GE(found + 1, behind) << "byte " << at;
    EXPECT_LE(found, behind) << "byte " << at;
  }
  const CheckResult result = checked();
  EXPECT_EQ(result.messages, 2u);
  EXPECT_THAT(result.damage, Contains(Says("frames behind a damaged one")));
  const SalvageResult salvaged = salvageStore(path(), temp.file(L"rescued.db"), {});
  EXPECT_EQ(salvaged.messages, 2u);
  EXPECT_THAT(salvaged.leftOut, Contains(Says("frames behind a damaged one")));
}

TEST_F(LogFramesTest, DamagedHeaderIsTold) {
  postAndCrash();
  const auto whole = read(log());
  for (const std::size_t at : {0, 3, 9, 13, 17, 21, 25, 31}) {
    write(log(), whole);
    flip(log(), at);
    std::filesystem::remove(path() + L"-shm");
    EXPECT_GT(readLogFrames(windowsDisk(), path()).behindDamage, 10u) << "byte " << at;
    if (at != 3 && at != 17) continue;
    EXPECT_THAT(checked().damage, Contains(Says("frames behind a damaged one"))) << "byte " << at;
  }
}

// The frames that an empty log keeps are in the database already.
TEST_F(LogFramesTest, EmptyLogHasNoFrames) {
  postAndCrash();
  reopen();
  database.reset();
  ASSERT_TRUE(isLogEmpty(windowsDisk(), path()));
  const auto whole = read(log());
  for (const std::size_t at : {0, 3, 17, 31, 32, 9000}) {
    write(log(), whole);
    flip(log(), at);
    const LogFrames frames = readLogFrames(windowsDisk(), path());
    EXPECT_EQ(frames.behindDamage, 0u) << "byte " << at;
    EXPECT_TRUE(frames.pages.empty()) << "byte " << at;
    EXPECT_TRUE(isLogEmpty(windowsDisk(), path())) << "byte " << at;
  }
  EXPECT_THAT(checked().damage, IsEmpty());
  EXPECT_EQ(checked().messages, 5u);
}

// A power cut may lose any part of the last commit.
TEST_F(LogFramesTest, UnfinishedCommitIsNoDamage) {
  postAndCrash();
  const auto whole = read(log());
  for (std::size_t at = ends[3]; at < ends[4]; at += frameSize / 2) {
    auto torn = whole;
    std::fill_n(torn.begin() + static_cast<std::ptrdiff_t>(at), 512, std::byte{0});
    write(log(), torn);
    EXPECT_EQ(readLogFrames(windowsDisk(), path()).behindDamage, 0u) << "byte " << at;
    torn.resize(at);
    write(log(), torn);
    EXPECT_EQ(readLogFrames(windowsDisk(), path()).behindDamage, 0u) << "byte " << at;
  }
  std::filesystem::remove(path() + L"-shm");
  EXPECT_THAT(checked().damage, Not(Contains(Says("frames behind"))));
  EXPECT_EQ(checked().messages, 4u);
}

// A transaction that is longer than the cache leaves frames behind the last commit when it is rolled back.
TEST_F(LogFramesTest, RolledBackFramesAreNoDamage) {
  reports = makeFolder(u"Reports");
  Connection& connection = database->connection();
  connection.execute("PRAGMA cache_size = 10");
  connection.execute("BEGIN IMMEDIATE");
  connection.execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 60) "
                     "INSERT INTO content (size, checksums, data) SELECT 100000, x'', zeroblob(100000) FROM n");
  connection.execute("ROLLBACK");
  for (int i = 0; i < 3; ++i) save(draftWith(reports, u"m"));
  crash();
  const auto bytes = read(log());
  const auto frame = bytes.begin() + static_cast<std::ptrdiff_t>(logHeader + 60 * frameSize);
  EXPECT_TRUE(std::any_of(frame, frame + 4, [](std::byte byte) { return byte != std::byte{0}; }))
      << "nothing is left of the transaction";
  EXPECT_EQ(readLogFrames(windowsDisk(), path()).behindDamage, 0u);
  EXPECT_THAT(checked().damage, IsEmpty());
}

}  // namespace
}  // namespace fendrel::store
