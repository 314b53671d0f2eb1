// Free space is returned to the disk; the facts are right.
#include <windows.h>

#include "maintenance_fixture.h"

namespace fendrel::store {
namespace {

using testing::IsEmpty;

class CompactTest : public MaintenanceTest {
 protected:
  std::vector<Id> messagesIn(const Id& folder) {
    std::vector<Id> ids;
    EXPECT_EQ(readMessageRows(*database, folder, MessageKind::Ordinary, {},
                              [&](MessageRow&& row) {
                                ids.push_back(row.message.id);
                                return true;
                              }),
              Status::Ok);
    return ids;
  }
};

TEST_F(CompactTest, FreeSpaceIsGivenBack) {
  fill();
  const Id other = makeFolder(u"other");
  for (int i = 0; i < 60; ++i) save(draftWith(other, u"goes", 60'000));
  ASSERT_EQ(deleteFolder(*database, other, {true, true}), Status::Ok);
  EXPECT_GT(readStoreFacts(path()).freePages, 100u);
  const CompactResult result = compactStore(path());
  EXPECT_TRUE(result.logIsEmpty);
  EXPECT_GT(result.bytesBefore, 4'000'000u);
  EXPECT_LT(result.bytesAfter, 1'000'000u);
  EXPECT_EQ(std::filesystem::file_size(path() + L"-wal"), 0u);
  const StoreFacts facts = readStoreFacts(path());
  EXPECT_EQ(facts.freePages, 0u);
  EXPECT_EQ(facts.messages, 3u);
  EXPECT_THAT(checked().damage, IsEmpty());
  EXPECT_EQ(subjectsIn(reports).size(), 3u) << "the connection that was open meanwhile goes on";
  save(draftWith(reports, u"goes on"));
}

TEST_F(CompactTest, LeftOverFilesAreDeletedAndOthersStay) {
  fill();
  const std::wstring orphan = contentFolder() + L"\\0123.content";
  write(orphan, std::vector<std::byte>(77));
  std::filesystem::last_write_time(orphan, std::filesystem::file_time_type::clock::now() - std::chrono::hours(2));
  const CompactResult result = compactStore(path());
  EXPECT_EQ(result.leftoverFiles, 1u);
  EXPECT_EQ(result.leftoverBytes, 77u);
  EXPECT_EQ(contentFiles().size(), 1u);
  EXPECT_THAT(checked().damage, IsEmpty());
}

TEST_F(CompactTest, BusyStoreIsLeftAsItIs) {
  fill();
  const auto other = openAnother();
  other->connection().execute("BEGIN IMMEDIATE");
  try {
    compactStore(path());
    ADD_FAILURE() << "it was compacted";
  } catch (const StatusFailure& failure) {
    EXPECT_EQ(failure.status(), Status::Busy) << failure.what();
  }
  other->connection().execute("ROLLBACK");
  EXPECT_THAT(checked().damage, IsEmpty());
}

TEST_F(CompactTest, ReaderKeepsTheLogForAWhile) {
  fill();
  const auto other = openAnother();
  other->connection().execute("BEGIN; SELECT count(*) FROM message");
  const CompactResult result = compactStore(path());
  EXPECT_FALSE(result.logIsEmpty);
  other->connection().execute("ROLLBACK");
  EXPECT_TRUE(compactStore(path()).logIsEmpty);
}

// The reader's data must stay in the file and the log.
TEST_F(CompactTest, ReaderGoesOnWithItsMoment) {
  fill();
  for (int i = 0; i < 60; ++i) save(draftWith(reports, u"goes", 60'000));
  const auto other = openAnother();
  other->connection().execute("BEGIN; SELECT count(*) FROM message");
  ASSERT_EQ(deleteMessages(*database, messagesIn(reports)), Status::Ok);
  EXPECT_FALSE(compactStore(path()).logIsEmpty);
  compactStore(path());
  Query check(other->connection().statement("PRAGMA integrity_check"));
  ASSERT_TRUE(check.step());
  EXPECT_EQ(check->text(0), "ok");
  Query contents(other->connection().statement("SELECT count(*), sum(length(data)) FROM content"));
  ASSERT_TRUE(contents.step());
  EXPECT_EQ(contents->integer(0), 62);
  EXPECT_EQ(contents->integer(1), 60 * 60'000 + 40'000);
}

TEST_F(CompactTest, CheckThatRunsMeanwhileFindsNoDamage) {
  fill();
  for (int i = 0; i < 20; ++i) save(draftWith(reports, u"goes", 60'000));
  bool isCompacted = false;
  const CheckResult result = checkStore(path(), [&](std::uint64_t, std::uint64_t) {
    if (isCompacted) return true;
    isCompacted = true;
    EXPECT_EQ(deleteMessages(*database, messagesIn(reports)), Status::Ok);
    EXPECT_FALSE(compactStore(path()).logIsEmpty);
    return true;
  });
  ASSERT_TRUE(isCompacted);
  EXPECT_THAT(result.damage, IsEmpty());
  EXPECT_EQ(result.messages, 23u);
  EXPECT_EQ(result.contentBytes, 20u * 60'000 + 40'000 + 300'001);
  EXPECT_TRUE(compactStore(path()).logIsEmpty);
  EXPECT_THAT(contentFiles(), IsEmpty());
  EXPECT_EQ(checked().messages, 0u);
}

TEST_F(CompactTest, FactsAreThoseOfTheStore) {
  fill();
  const StoreFacts facts = readStoreFacts(path());
  EXPECT_EQ(facts.version, 5);
  EXPECT_EQ(facts.pageBytes, 8192u);
  EXPECT_EQ(facts.messages, 3u);
  EXPECT_EQ(facts.messagesWithChecksum, 3u);
  EXPECT_EQ(facts.attachments, 2u);
  EXPECT_EQ(facts.stores, 1u);
  EXPECT_EQ(facts.profiles, 0u);
  EXPECT_EQ(facts.contentFiles, 1u);
  EXPECT_EQ(facts.contentFileBytes, 300'001u);
  EXPECT_EQ(facts.leftoverFiles, 0u);
  EXPECT_GT(facts.messageBytes, 340'001u);
}

}  // namespace
}  // namespace fendrel::store
