// What is whole comes over, with its identifiers; what is not is named.
#include <algorithm>
#include <set>

#include "maintenance_fixture.h"

namespace fendrel::store {
namespace {

using testing::Contains;
using testing::IsEmpty;

class SalvageTest : public MaintenanceTest {
protected:
  std::wstring rescued() const { return temp.file(L"rescued.db"); }

  SalvageResult salvage() { return salvageStore(path(), rescued(), {}); }

  // From now on the fixture's helpers look into the new store.
  void openRescued() {
    database.reset();
    std::string error;
    ASSERT_EQ(Database::openExisting(rescued(), database, error), Status::Ok) << error;
  }
};

TEST_F(SalvageTest, WholeStoreComesOverWithItsIdentifiers) {
  fill();
  Profile profile;
  profile.name = u"jane";
  profile.userName = u"Jane Doe";
  profile.password = {Bytes(16), 5, Bytes(32)};
  ASSERT_EQ(createProfile(*database, profile), Status::Ok);
  const MessageInfo saved = save(draftWith(reports, u"last", 500'000));
  const auto properties = propertiesOf(saved.id);
  const SalvageResult result = salvage();
  EXPECT_THAT(result.leftOut, IsEmpty());
  EXPECT_THAT(result.mended, IsEmpty());
  EXPECT_EQ(result.messages, 4u);
  EXPECT_EQ(result.profiles, 1u);
  EXPECT_THAT(checkStore(rescued(), {}).damage, IsEmpty());
  openRescued();
  MessageInfo found;
  ASSERT_EQ(findMessage(*database, saved.id, found), Status::Ok);
  EXPECT_EQ(found.folder, reports);
  EXPECT_EQ(found.searchKey, saved.searchKey);
  EXPECT_EQ(found.created, saved.created);
  EXPECT_EQ(found.size, saved.size);
  EXPECT_EQ(propertiesOf(saved.id).size(), properties.size());
  Bytes bytes;
  ASSERT_EQ(readAll(saved.id, 0, attachDataTag, bytes), Status::Ok);
  EXPECT_EQ(bytes, pattern(500'000, 500'000));
  Profile again;
  ASSERT_EQ(findProfile(*database, u"jane", again), Status::Ok);
  EXPECT_EQ(again.id, profile.id);
  EXPECT_EQ(again.mailbox, profile.mailbox);
  EXPECT_EQ(again.password.hash, profile.password.hash);
  StoreInfo store;
  ASSERT_EQ(findPublicStore(*database, store), Status::Ok);
  EXPECT_EQ(store.ipmSubtree, top);
  EXPECT_EQ(folderNow(reports).messageCount, 4u);
  save(draftWith(reports, u"goes on"));
}

TEST_F(SalvageTest, OldStoreStaysAsItIs) {
  fill();
  close();
  const auto before = read(path());
  salvage();
  EXPECT_EQ(read(path()), before);
}

TEST_F(SalvageTest, MessageWithoutItsContentFileIsLeftOutAndNamed) {
  fill();
  std::filesystem::remove(onlyContentFile());
  const SalvageResult result = salvage();
  EXPECT_EQ(result.messages, 2u);
  EXPECT_THAT(result.leftOut, testing::ElementsAre(IsFinding("large", "large.pdf", "missing")));
  EXPECT_THAT(checkStore(rescued(), {}).damage, IsEmpty());
}

TEST_F(SalvageTest, MessagesAroundDamagedPagesComeOver) {
  reports = makeFolder(u"Reports");
  for (int i = 0; i < 200; ++i) save(draftWith(reports, u"m", 2000));
  // Where a table's rows are found from: without it none of them is.
  const std::set<std::uint64_t> roots = {rootPage("message"), rootPage("message_property"), rootPage("content")};
  close();
  const auto whole = read(path());
  const std::size_t pages = checked().pages;
  std::size_t most = 0, fewest = 1000;
  for (std::size_t page = 2; page <= pages; page += 4) {
    auto bytes = whole;
    bytes[(page - 1) * 16384 + 9000] ^= std::byte{64};
    write(path(), bytes);
    std::filesystem::remove(rescued());
    std::filesystem::remove_all(rescued() + L"-wal");
    std::filesystem::remove_all(rescued() + L"-shm");
    std::filesystem::remove_all(rescued() + L".files");
    const SalvageResult result = salvage();
    most = std::max<std::size_t>(most, result.messages);
    fewest = std::min<std::size_t>(fewest, result.messages);
    EXPECT_THAT(checkStore(rescued(), {}).damage, IsEmpty()) << "page " << page;
    if (!roots.contains(page)) {
      EXPECT_GE(result.messages, 40u) << "page " << page;
    }
    EXPECT_EQ(result.messages == 200, !std::ranges::any_of(result.leftOut, &Finding::isMessage)) << "page " << page;
  }
  EXPECT_EQ(most, 200u);
  EXPECT_LT(fewest, 200u) << "no page that was damaged held a message";
}

TEST_F(SalvageTest, FoldersOfADamagedTableComeOverFromItsIndexes) {
  fill();
  const auto page = rootPage("folder");
  close();
  flip(path(), (page - 1) * 16384 + 16000);
  const SalvageResult result = salvage();
  EXPECT_EQ(result.messages, 3u);
  EXPECT_THAT(result.mended, Contains(Says("times were lost")));
  openRescued();
  EXPECT_EQ(folderNow(reports).name, u"Reports");
  EXPECT_EQ(folderNow(reports).messageCount, 3u);
}

TEST_F(SalvageTest, ProfilesOfADamagedTableComeOverWithoutPassword) {
  Profile profile;
  profile.name = u"jane";
  profile.userName = u"Jane Doe";
  profile.password = {Bytes(16), 5, Bytes(32)};
  ASSERT_EQ(createProfile(*database, profile), Status::Ok);
  const auto page = rootPage("profile");
  close();
  flip(path(), (page - 1) * 16384 + 16000);
  const SalvageResult result = salvage();
  EXPECT_EQ(result.profiles, 1u);
  EXPECT_THAT(result.mended, Contains(Says("lost its password")));
  openRescued();
  Profile again;
  ASSERT_EQ(findProfile(*database, u"jane", again), Status::Ok);
  EXPECT_EQ(again.mailbox, profile.mailbox);
  EXPECT_EQ(again.userName, u"Jane Doe");
}

TEST_F(SalvageTest, MessagesOfALostFolderGoToAFolderOfTheirOwn) {
  fill();
  spoil("DELETE FROM folder WHERE name = 'Reports'");
  spoil("UPDATE message SET folder = 4711");
  const SalvageResult result = salvage();
  EXPECT_EQ(result.messages, 3u);
  EXPECT_THAT(result.mended, Contains(Says("whose folder was lost")));
  EXPECT_THAT(checkStore(rescued(), {}).damage, IsEmpty());
}

TEST_F(SalvageTest, CircleOfFoldersIsOpened) {
  const Guid outer = makeFolder(u"outer");
  const Guid inner = makeFolder(outer, u"inner");
  save(draftWith(inner, u"in a circle"));
  spoil("UPDATE folder SET parent = (SELECT id FROM folder WHERE name = 'inner') WHERE name = 'outer'");
  const SalvageResult result = salvage();
  EXPECT_EQ(result.messages, 1u);
  EXPECT_THAT(checkStore(rescued(), {}).damage, IsEmpty());
}

TEST_F(SalvageTest, ExistingStoreIsNotTouched) {
  fill();
  write(rescued(), std::vector<std::byte>(3));
  try {
    salvage();
    FAIL();
  } catch (const MaintenanceFailure& failure) {
    EXPECT_EQ(failure.trouble(), Trouble::exists);
  }
  EXPECT_EQ(read(rescued()).size(), 3u);
}

TEST_F(SalvageTest, CancelledLeavesNothing) {
  fill();
  int asked = 0;
  EXPECT_THROW(salvageStore(path(), rescued(), [&](std::uint64_t, std::uint64_t) { return ++asked < 4; }),
               MaintenanceFailure);
  EXPECT_FALSE(std::filesystem::exists(rescued()));
  EXPECT_FALSE(std::filesystem::exists(rescued() + L".files"));
}

}  // namespace
}  // namespace fendrel::store
