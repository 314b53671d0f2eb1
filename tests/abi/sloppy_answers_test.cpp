// A mail system that returns success with less than it says, or with something else: the documented code, nothing in
// the wrong place.
#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class SloppyAnswers : public JobTest {
 protected:
  uint32_t tryToOpen() {
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders@Reports@Daily");
    FileList files{L"report.txt"};
    return JobTest::tryToOpen(&options, files);
  }

  void openPersonalReport() { open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT)); }
};

TEST_F(SloppyAnswers, RowsWithoutTheirColumnsNameNoProfile) {
  mapi.answer("IMAPITable::QueryRows", 1, RECORDING_ROWS_WITHOUT_COLUMNS);
  EXPECT_EQ(tryToOpen(), FENDREL_FAILED);
}

TEST_F(SloppyAnswers, RowsWithoutTheirColumnsNameNoStoreAndNoFolder) {
  open();
  for (const uint32_t table : {1u, 2u, 3u}) {
    mapi.failNothing();
    mapi.answer("IMAPITable::QueryRows", table, RECORDING_ROWS_WITHOUT_COLUMNS);
    EXPECT_EQ(postAndRead(job, {file()}), notFound) << "table " << table;
  }
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

TEST_F(SloppyAnswers, RowsWithoutTheirColumnsNameNoDefaultStore) {
  openPersonalReport();
  mapi.answer("IMAPITable::QueryRows", 1, RECORDING_ROWS_WITHOUT_COLUMNS);
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
}

TEST_F(SloppyAnswers, ARowSetThatCountsMoreThanCanBeReadIsAFailedCall) {
  open();
  mapi.answer("IMAPITable::QueryRows", 1, RECORDING_LONG_BYTES);
  EXPECT_EQ(postAndRead(job, {file()}), callFailed);
}

TEST_F(SloppyAnswers, AUserWithoutValuesLeavesTheMessageWithoutSender) {
  mapi.answer("IMailUser::GetProps", 1, RECORDING_NOTHING);
  open();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_THAT(tagsOf(mapi.messages().at(0).properties), Not(Contains(PR_SENDER_ENTRYID)));
}

TEST_F(SloppyAnswers, AnIdentityThatCountsMoreBytesThanThereAreIsNone) {
  mapi.answer("IMAPISession::QueryIdentity", 1, RECORDING_COUNT_HIGH);
  open();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_THAT(tagsOf(mapi.messages().at(0).properties), Not(Contains(PR_SENDER_ENTRYID)));
}

TEST_F(SloppyAnswers, AStoreWithoutValuesHasNoCommonViews) {
  openPersonalReport();
  mapi.answer("IMsgStore::GetProps", 1, RECORDING_NOTHING);
  EXPECT_EQ(postAndRead(job, {file()}), callFailed);
}

TEST_F(SloppyAnswers, AnAllocationWithoutABlockIsNoMemory) {
  open();
  for (const uint32_t nth : {1u, 2u}) {
    mapi.failNothing();
    mapi.answer("MAPIAllocateBuffer", nth, RECORDING_NOTHING);
    EXPECT_EQ(post(job, {file()}), FENDREL_OUT_OF_MEMORY) << "allocation " << nth;
  }
  for (const PostedMessage& message : mapi.messages()) EXPECT_FALSE(message.saved);
}

class SubtreeAnswers : public SloppyAnswers, public ::testing::WithParamInterface<RecordingAnswer> {};

TEST_P(SubtreeAnswers, ThatAreNoIdentifierAreNotFoundAndNothingIsOpened) {
  open();
  mapi.answer("HrGetOneProp", 1, GetParam());
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
  EXPECT_THAT(mapi.callsOf("IMsgStore::OpenEntry"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Success, SubtreeAnswers,
                         ::testing::Values(RECORDING_NOTHING, RECORDING_ERROR_VALUES, RECORDING_OTHER_TYPE,
                                           RECORDING_NULL_VALUES, RECORDING_BAD_ADDRESS, RECORDING_LONG_BYTES));

TEST_F(SloppyAnswers, NamesThatCannotBeReadAreNone) {
  open();
  mapi.answer("IMAPITable::QueryRows", 1, RECORDING_BAD_ADDRESS);
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
}

TEST_F(SloppyAnswers, AStreamThatTakesFewerBytesIsAFailedCallAndTheMessageIsNotKept) {
  open();
  mapi.answer("IStream::Write", 2, RECORDING_FEWER_BYTES);
  EXPECT_EQ(postAndRead(job, {file(L"long", std::string(5000, 'x'))}), callFailed);
  ASSERT_EQ(mapi.messages().size(), 1u);
  EXPECT_FALSE(mapi.messages()[0].saved);
}

TEST_F(SloppyAnswers, AnObjectOfAnotherTypeIsNoFolder) {
  open();
  for (const uint32_t entry : {1u, 2u, 3u}) {
    mapi.failNothing();
    mapi.answer("IMsgStore::OpenEntry", entry, RECORDING_OTHER_OBJECT);
    EXPECT_EQ(postAndRead(job, {file()}), notFound) << "entry " << entry;
  }
}

TEST_F(SloppyAnswers, AFailureReleasesFromTheInnermostOutAndTheFolderBeforeItsStore) {
  open();
  mapi.fail("IStream::Write", 1, MAPI_E_CALL_FAILED);
  const std::size_t before = mapi.everything().size();
  EXPECT_EQ(postAndRead(job, {file()}), callFailed);
  std::vector<std::string> released;
  const auto all = mapi.everything();
  for (std::size_t index = before; index < all.size(); ++index)
    if (all[index].kind == RECORDED_RELEASE) released.push_back(all[index].name);
  ASSERT_GE(released.size(), 5u);
  EXPECT_THAT(std::vector(released.end() - 5, released.end()),
              ElementsAre("IStream::Release", "IAttach::Release", "IMessage::Release", "IMAPIFolder::Release",
                          "IMsgStore::Release"));
}

// Names that become equal in the code page.
class EqualNames : public JobTest {
 protected:
  void addFolders(std::initializer_list<const wchar_t*> names) {
    for (const wchar_t* name : names) world.addFolder(1, World::subtree, name);
    rebuildWorld();
  }
};

TEST_F(EqualNames, ThatMayStandForOthersAreNotFound) {
  addFolders({L"\x100\x101", L"\x102\x103"});  // both "??" in 932; in 1252 they have letters like them
  addFolders({L"\x5E9\x5EA", L"\x5E0\x5E1"});
  openPath(L"Public Folders@??");
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

TEST_F(EqualNames, AQuestionMarkInTheNameOfOneFolderAloneIsFound) {
  addFolders({L"Why?", L"Why not?"});
  openPath(L"Public Folders@Why?");
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.messages().at(0).folder, "Public Folders@Why?");
}

TEST_F(EqualNames, StoresThatMayStandForOthersAreNotFound) {
  world.addStore(L"Post \x5E9");
  world.addStore(L"Post \x5EA");
  rebuildWorld();
  openPath(L"Post ?");
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
}

TEST_F(EqualNames, AddressesThatMayStandForOthersAreNotFound) {
  world.addStore(L"\x5E9@example.com");
  world.addStore(L"\x5EA@example.com");
  rebuildWorld();
  openPath(L"?@example.com");
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
}

TEST_F(EqualNames, WithoutAQuestionMarkTheFirstIsTakenAndNoFurtherRowIsRead) {
  std::vector<const wchar_t*> names(60, L"Twice");
  for (const wchar_t* name : names) world.addFolder(1, World::subtree, name);
  rebuildWorld();
  openPath(L"Public Folders@Twice");
  const auto before = mapi.callsOf("IMAPITable::QueryRows").size();
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.callsOf("IMAPITable::QueryRows").size(), before + 2);  // of the stores and of the folders
}

}  // namespace
}  // namespace fendrel::test
