// Free space goes back to the disk; facts are shown as they are.
#include <windows.h>

#include "maintenance_fixture.h"

namespace fendrel::store {
namespace {

using testing::IsEmpty;

class CompactTest : public MaintenanceTest {};

TEST_F(CompactTest, FreeSpaceIsGivenBack) {
  fill();
  const Guid other = makeFolder(u"other");
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
  EXPECT_TRUE(facts.pagesHaveChecksums);
  EXPECT_EQ(facts.messages, 3u);
  EXPECT_THAT(checked().damage, IsEmpty());
  EXPECT_EQ(subjectsIn(reports).size(), 3u) << "the connection that was open meanwhile goes on";
  save(draftWith(reports, u"goes on"));
}

TEST_F(CompactTest, LeftOverFilesAreDeletedAndOthersStay) {
  fill();
  write(contentFolder() + L"\\0123.content", std::vector<std::byte>(77));
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
  } catch (const MaintenanceFailure& failure) {
    EXPECT_EQ(failure.trouble(), Trouble::busy) << failure.what();
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

TEST_F(CompactTest, FactsAreThoseOfTheStore) {
  fill();
  const StoreFacts facts = readStoreFacts(path());
  EXPECT_EQ(facts.version, 2);
  EXPECT_EQ(facts.pageBytes, 16384u);
  EXPECT_EQ(facts.messages, 3u);
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
