// What is whole comes over, with its identifiers; what is not is named.
#include <cstdlib>
#include <cstring>
#include <random>

#include "checksum.h"
#include "maintenance_fixture.h"

namespace fendrel::store {
namespace {

using testing::Contains;
using testing::IsEmpty;

class SalvageTest : public MaintenanceTest {
protected:
  std::wstring rescued() const { return temp.file(L"rescued.db"); }

  void removeRescued() const {
    for (const wchar_t* ending : {L"", L"-wal", L"-shm", L".files"}) std::filesystem::remove_all(rescued() + ending);
  }

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
