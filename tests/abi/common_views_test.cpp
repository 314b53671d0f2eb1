// A Personal Report goes into the Common Views folder of the default store.
#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CommonViewsTest : public JobTest {
 protected:
  Answer postPersonal() {
    rebuildWorld();
    open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT));
    before_ = mapi.calls().size();
    return postAndRead(job, {file()});
  }

  std::vector<std::string> folderLines() const {
    auto lines = mapi.lines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before_));
    const auto created = std::ranges::find_if(
        lines, [](const std::string& line) { return line.starts_with("IMAPIFolder::CreateMessage"); });
    lines.erase(created, lines.end());
    return lines;
  }

 private:
  std::size_t before_ = 0;
};

TEST_F(CommonViewsTest, IsOpenedInThisOrder) {
  EXPECT_EQ(postPersonal(), success);
  EXPECT_THAT(
      folderLines(),
      ElementsAre(
          "IMAPISession::GetMsgStoresTable [Default] flags=0x0",
          "IMAPITable::Restrict [message stores] restriction=null flags=0x0",
          "IMAPITable::SetColumns [message stores] columns=PR_ENTRYID,PR_DEFAULT_STORE flags=0x0",
          "IMAPITable::GetRowCount [message stores] flags=0x0", "IMAPITable::SeekRow [message stores] origin=0 rows=0",
          "IMAPITable::QueryRows [message stores] rows=50 flags=0x0",
          "IMAPISession::OpenMsgStore [Default] window=0x0 entry=\"Mailbox - Ada\" interface=null flags=0x4",
          "IMsgStore::GetProps [Mailbox - Ada] tags=PR_VALID_FOLDER_MASK,PR_COMMON_VIEWS_ENTRYID flags=0x0",
          "IMsgStore::OpenEntry [Mailbox - Ada] entry=\"Mailbox - Ada (common views)\" interface=null flags=0x10"));
  EXPECT_EQ(mapi.messages().at(0).folder, "Mailbox - Ada (common views)");
}

TEST_F(CommonViewsTest, StoreIsReleasedAsSoonAsTheFolderIsOpen) {
  EXPECT_EQ(postPersonal(), success);
  std::vector<std::string> names;
  for (const Call& call : mapi.everything())
    if (call.name == "IMsgStore::Release" || call.name == "IMAPIFolder::CreateMessage") names.push_back(call.name);
  EXPECT_THAT(names, ElementsAre("IMsgStore::Release", "IMAPIFolder::CreateMessage"));
}

TEST_F(CommonViewsTest, DefaultStoreIsTheFirstRowThatSaysSo) {
  world.stores.insert(world.stores.begin(), {L"Archive", RECORDING_NO_DEFAULT_COLUMN, 0xFF});
  world.stores.push_back({L"Second", RECORDING_DEFAULT_STORE, 0xFF});
  for (RecordingFolder& folder : world.folders) ++folder.store;
  EXPECT_EQ(postPersonal(), success);
  EXPECT_EQ(mapi.messages().at(0).folder, "Mailbox - Ada (common views)");
}

TEST_F(CommonViewsTest, WithoutADefaultStoreIsNotFound) {
  world.stores[0].flags = 0;
  EXPECT_EQ(postPersonal(), notFound);
  EXPECT_THAT(mapi.callsOf("IMAPISession::OpenMsgStore"), IsEmpty());
}

TEST_F(CommonViewsTest, WithoutAnyStoreIsNotFound) {
  world.stores.clear();
  world.folders.clear();
  EXPECT_EQ(postPersonal(), notFound);
}

TEST_F(CommonViewsTest, DefaultStoreThatCannotBeOpenedIsNotFoundWhateverTheReason) {
  open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT));
  mapi.failEvery("IMAPISession::OpenMsgStore", MAPI_E_NO_ACCESS);
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
}

TEST_F(CommonViewsTest, MissingFolderMaskIsCallFailed) {
  world.stores[0].flags |= RECORDING_NO_FOLDER_MASK;
  EXPECT_EQ(postPersonal(), callFailed);
}

TEST_F(CommonViewsTest, MissingCommonViewsIdentifierIsCallFailed) {
  world.stores[0].flags |= RECORDING_NO_COMMON_VIEWS;
  EXPECT_EQ(postPersonal(), callFailed);
}

TEST_F(CommonViewsTest, MissingIdentifierIsCallFailedEvenWhereTheMaskHasNoBit) {
  world.stores[0].flags |= RECORDING_NO_COMMON_VIEWS;
  world.stores[0].validFolderMask = 0;
  EXPECT_EQ(postPersonal(), callFailed);
}

TEST_F(CommonViewsTest, ClearBitMakesThePostFailWithInvalidParameter) {
  world.stores[0].validFolderMask = static_cast<uint32_t>(~FOLDER_COMMON_VIEWS_VALID);
  EXPECT_EQ(postPersonal(), (Answer{FENDREL_FAILED, L"MAPI_E_INVALID_PARAMETER"}));
  EXPECT_THAT(mapi.callsOf("IMsgStore::OpenEntry"), IsEmpty());
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

TEST_F(CommonViewsTest, ClearBitWithoutFilesIsASuccess) {
  world.stores[0].validFolderMask = 0;
  rebuildWorld();
  open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT));
  EXPECT_EQ(postAndRead(job, {}), success);
}

TEST_F(CommonViewsTest, FolderPathIsNotUsed) {
  open(unpackedOptions(L"Default", L"", L"Public Folders@Reports", FENDREL_PERSONAL_REPORT));
  EXPECT_EQ(postAndRead(job, {file()}), success);
  EXPECT_EQ(mapi.messages().at(0).folder, "Mailbox - Ada (common views)");
}

TEST_F(CommonViewsTest, FailingTableCallGivesItsOwnCode) {
  open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT));
  mapi.fail("IMAPITable::SetColumns", 1, MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_OUT_OF_MEMORY, L""}));
}

TEST_F(CommonViewsTest, FailingFolderGivesItsOwnCode) {
  open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT));
  mapi.fail("IMsgStore::OpenEntry", 1, MAPI_E_NO_SUPPORT);
  EXPECT_EQ(postAndRead(job, {file()}),
            (Answer{FENDREL_FAILED, L"Such posting is not supported by the Message Service Provider."}));
}

TEST_F(CommonViewsTest, FailingPropertiesGiveTheirOwnCode) {
  open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT));
  mapi.fail("IMsgStore::GetProps", 1, MAPI_E_CORRUPT_DATA);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_FAILED, L"MAPI_E_CORRUPT_DATA"}));
}

}  // namespace
}  // namespace fendrel::test
