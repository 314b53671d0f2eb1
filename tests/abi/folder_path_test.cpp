// Opening the target folder by its path of display names.
#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FolderPathTest : public JobTest {
 protected:
  // The label of the folder that a path leads to; empty with `answer` when there is none.
  std::string reach(const wchar_t* path) {
    rebuildWorld();
    openPath(path);
    answer = postAndRead(job, {file()});
    const auto messages = mapi.messages();
    return messages.empty() ? "" : messages.back().folder;
  }

  Answer answer;
};

TEST_F(FolderPathTest, StoreAloneIsItsTopOfInformationStore) {
  EXPECT_EQ(reach(L"Public Folders"), "Public Folders (subtree)");
  EXPECT_THAT(mapi.callsOf("IMAPIFolder::GetHierarchyTable"), IsEmpty());
}

TEST_F(FolderPathTest, LastFolderIsOpenedForModificationAndThoseBeforeWithBestAccess) {
  EXPECT_EQ(reach(L"Public Folders@Reports@Daily"), "Public Folders@Reports@Daily");
  EXPECT_THAT(
      mapi.linesOf("IMsgStore::OpenEntry"),
      ElementsAre(
          "IMsgStore::OpenEntry [Public Folders] entry=\"Public Folders (subtree)\" interface=null flags=0x10",
          "IMsgStore::OpenEntry [Public Folders] entry=\"Public Folders@Reports\" interface=IID_IMAPIFolder flags=0x10",
          "IMsgStore::OpenEntry [Public Folders] entry=\"Public Folders@Reports@Daily\" interface=IID_IMAPIFolder "
          "flags=0x1"));
}

TEST_F(FolderPathTest, StoreIsFoundBehindOthers) { EXPECT_EQ(reach(L"Mailbox - Ada@Inbox"), "Mailbox - Ada@Inbox"); }

TEST_F(FolderPathTest, EmptyPathFailsBeforeAnyTableIsOpened) {
  EXPECT_EQ(reach(L""), "");
  EXPECT_EQ(answer, callFailed);
  EXPECT_THAT(mapi.callsOf("IMAPISession::GetMsgStoresTable"), IsEmpty());
}

TEST_F(FolderPathTest, MissingPathFailsLikeAnEmptyOne) {
  EXPECT_EQ(reach(nullptr), "");
  EXPECT_EQ(answer, callFailed);
  EXPECT_THAT(mapi.callsOf("IMAPISession::GetMsgStoresTable"), IsEmpty());
}

TEST_F(FolderPathTest, UnknownStoreIsNotFound) {
  EXPECT_EQ(reach(L"Archive@Reports"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, UnknownFolderIsNotFound) {
  EXPECT_EQ(reach(L"Public Folders@Reports@Weekly"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, StoreThatDiffersInCaseIsNotFound) {
  EXPECT_EQ(reach(L"public folders@Reports"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, FolderThatDiffersInCaseIsNotFound) {
  EXPECT_EQ(reach(L"Public Folders@reports"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, BeginningOfANameIsNotFound) {
  EXPECT_EQ(reach(L"Public Folders@Report"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, MissingIntermediateFolderEndsTheWalk) {
  EXPECT_EQ(reach(L"Public Folders@Nowhere@Daily"), "");
  EXPECT_EQ(mapi.callsOf("IMAPIFolder::GetHierarchyTable").size(), 1u);
}

TEST_F(FolderPathTest, FirstOfTwoEqualNamesWins) {
  const int twin = world.addStore(L"Public Folders");
  world.addFolder(twin, World::subtree, L"Only in the second");
  EXPECT_EQ(reach(L"Public Folders@Only in the second"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, RowsWithoutNamesArePassedOver) {
  world.folders.insert(world.folders.begin(), {nullptr, 1, World::subtree});
  for (std::size_t index = 1; index < world.folders.size(); ++index)
    if (world.folders[index].parent >= 0) ++world.folders[index].parent;
  world.stores.push_back({nullptr, 0, 0});
  EXPECT_EQ(reach(L"Public Folders@Reports@Daily"), "Public Folders@Reports@Daily");
}

TEST_F(FolderPathTest, NamesAreConvertedFromTheAnsiCodePage) {
  const int folder = world.addFolder(1, World::subtree, localName());
  world.addFolder(1, folder, L"Below");
  const std::wstring path = std::wstring(L"Public Folders@") + localName() + L"@Below";
  reach(path.c_str());
  EXPECT_EQ(answer, (Answer{FENDREL_SUCCESS, L""}));
}

TEST_F(FolderPathTest, FolderIsFoundInTheThirdBatchOfFifty) {
  std::vector<std::wstring> names;
  for (int number = 0; number < 120; ++number) names.push_back(L"Folder " + std::to_wstring(number));
  for (const std::wstring& name : names) world.addFolder(0, World::subtree, name.c_str());
  EXPECT_EQ(reach(L"Mailbox - Ada@Folder 110"), "Mailbox - Ada@Folder 110");
  std::size_t batches = 0;
  for (const Call& call : mapi.callsOf("IMAPITable::QueryRows"))
    if (call.object == "hierarchy of Mailbox - Ada (subtree)") ++batches;
  EXPECT_EQ(batches, 3u);
}

TEST_F(FolderPathTest, WalkEndsWithTheFirstMatchAndReadsNoFurtherBatch) {
  std::vector<std::wstring> names;
  for (int number = 0; number < 120; ++number) names.push_back(L"Folder " + std::to_wstring(number));
  for (const std::wstring& name : names) world.addFolder(0, World::subtree, name.c_str());
  EXPECT_EQ(reach(L"Mailbox - Ada@Folder 3"), "Mailbox - Ada@Folder 3");
  std::size_t batches = 0;
  for (const Call& call : mapi.callsOf("IMAPITable::QueryRows"))
    if (call.object == "hierarchy of Mailbox - Ada (subtree)") ++batches;
  EXPECT_EQ(batches, 1u);
}

TEST_F(FolderPathTest, ExactlyFiftyRowsWithoutAMatchNeedASecondEmptyBatch) {
  std::vector<std::wstring> names;
  for (int number = 0; number < 49; ++number) names.push_back(L"Folder " + std::to_wstring(number));  // and the Inbox
  for (const std::wstring& name : names) world.addFolder(0, World::subtree, name.c_str());
  EXPECT_EQ(reach(L"Mailbox - Ada@Missing"), "");
  EXPECT_EQ(answer, notFound);
  std::size_t batches = 0;
  for (const Call& call : mapi.callsOf("IMAPITable::QueryRows"))
    if (call.object == "hierarchy of Mailbox - Ada (subtree)") ++batches;
  EXPECT_EQ(batches, 2u);
}

TEST_F(FolderPathTest, TableWithoutRowsIsNotFound) {
  EXPECT_EQ(reach(L"Public Folders@Reports@Daily@Deeper"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, ComponentOfSeventyNineCharactersMatches) {
  const std::wstring name(79, L'n');
  world.addFolder(1, World::subtree, name.c_str());
  EXPECT_EQ(reach((L"Public Folders@" + name).c_str()), "Public Folders@" + std::string(79, 'n'));
}

TEST_F(FolderPathTest, ComponentOfEightyCharactersIsNotFound) {
  world.addFolder(1, World::subtree, std::wstring(80, L'n').c_str());
  world.addFolder(1, World::subtree, std::wstring(79, L'n').c_str());
  EXPECT_EQ(reach((L"Public Folders@" + std::wstring(80, L'n')).c_str()), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, SeparatorAtTheEndAsksForAFolderWithoutAName) {
  EXPECT_EQ(reach(L"Public Folders@Reports@"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, StoreWithoutIpmSubtreeFailsWithThePropertysCode) {
  world.stores[1].flags |= RECORDING_NO_SUBTREE;
  EXPECT_EQ(reach(L"Public Folders@Reports"), "");
  EXPECT_EQ(answer, notFound);
  EXPECT_THAT(mapi.callsOf("IMsgStore::OpenEntry"), IsEmpty());
}

TEST_F(FolderPathTest, BusyRowsThatCompleteInTimeEndTheWalkWithoutThem) {
  // The call is not repeated, and its output was not written: like a table without rows.
  openPath(L"Public Folders@Reports");
  mapi.fail("IMAPITable::QueryRows", 1, MAPI_E_BUSY);
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
  EXPECT_EQ(mapi.callsOf("IMAPITable::WaitForCompletion").size(), 1u);
}

TEST_F(FolderPathTest, BusyColumnsThatCompleteInTimeAreASuccess) {
  openPath(L"Public Folders@Reports");
  mapi.fail("IMAPITable::SetColumns", 2, MAPI_E_BUSY);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_SUCCESS, L""}));
  EXPECT_THAT(
      mapi.linesOf("IMAPITable::WaitForCompletion"),
      ElementsAre("IMAPITable::WaitForCompletion [hierarchy of Public Folders (subtree)] flags=0x0 timeout=5000"));
}

TEST_F(FolderPathTest, FailingTableCallGivesItsOwnCode) {
  openPath(L"Public Folders@Reports");
  mapi.fail("IMAPITable::QueryRows", 2, MAPI_E_NOT_ENOUGH_DISK);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_NOT_ENOUGH_DISK, L""}));
}

TEST_F(FolderPathTest, FailingSecondBatchGivesItsOwnCode) {
  std::vector<std::wstring> names;
  for (int number = 0; number < 120; ++number) names.push_back(L"Folder " + std::to_wstring(number));
  for (const std::wstring& name : names) world.addFolder(0, World::subtree, name.c_str());
  rebuildWorld();
  openPath(L"Mailbox - Ada@Folder 110");
  mapi.fail("IMAPITable::QueryRows", 3, MAPI_E_NO_ACCESS);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_FAILED, L"No access right to post file to Exchange Folders."}));
}

TEST_F(FolderPathTest, OpenedStoreAndFoldersAreReleasedOnAFailure) {
  EXPECT_EQ(reach(L"Public Folders@Reports@Weekly"), "");
  EXPECT_EQ(mapi.counts().interfaces, 1u) << mapi.liveObjects();  // the session
}

TEST_F(FolderPathTest, ActiveWindowIsTheStoresParentWindow) {
  const HWND window =
      CreateWindowW(L"STATIC", L"host", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(window, nullptr);
  SetActiveWindow(window);
  const HWND active = GetActiveWindow();
  reach(L"Public Folders");
  DestroyWindow(window);
  ASSERT_EQ(active, window) << "this system lets the test activate no window";
  char expected[64];
  snprintf(expected, sizeof expected, "window=0x%llx ",
           static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(active)));
  EXPECT_THAT(mapi.callsOf("IMAPISession::OpenMsgStore").at(0).arguments, ::testing::StartsWith(expected));
}

// ---- Names that hold an '@' ----

TEST_F(FolderPathTest, StoreNamedByAnAddressIsFound) {
  const int store = world.addStore(L"ada@example.org");
  world.addFolder(store, World::subtree, L"Inbox");
  EXPECT_EQ(reach(L"ada@example.org@Inbox"), "ada@example.org@Inbox");
}

TEST_F(FolderPathTest, StoreNamedByAnAddressAloneIsFound) {
  world.addStore(L"ada@example.org");
  EXPECT_EQ(reach(L"ada@example.org"), "ada@example.org (subtree)");
}

TEST_F(FolderPathTest, FolderNamedByAnAddressIsFoundAsTheLastComponent) {
  world.addFolder(1, World::subtree, L"team@example.org");
  EXPECT_EQ(reach(L"Public Folders@team@example.org"), "Public Folders@team@example.org");
  EXPECT_THAT(mapi.linesOf("IMsgStore::OpenEntry").back(), ::testing::HasSubstr("flags=0x1"));
}

TEST_F(FolderPathTest, FolderNamedByAnAddressIsFoundBeforeItsChild) {
  const int team = world.addFolder(1, World::subtree, L"team@example.org");
  world.addFolder(1, team, L"Daily");
  EXPECT_EQ(reach(L"Public Folders@team@example.org@Daily"), "Public Folders@team@example.org@Daily");
}

TEST_F(FolderPathTest, AddressMayBeLongerThanSeventyNineCharacters) {
  const std::wstring address = std::wstring(60, L'a') + L"@" + std::wstring(60, L'b');
  world.addFolder(1, World::subtree, address.c_str());
  EXPECT_EQ(reach((L"Public Folders@" + address).c_str()),
            "Public Folders@" + std::string(60, 'a') + "@" + std::string(60, 'b'));
}

TEST_F(FolderPathTest, ExactNameComesBeforeAnAddress) {
  const int plain = world.addFolder(1, World::subtree, L"team");
  world.addFolder(1, plain, L"example.org");
  world.addFolder(1, World::subtree, L"team@example.org");
  EXPECT_EQ(reach(L"Public Folders@team@example.org"), "Public Folders@team@example.org");
  EXPECT_EQ(mapi.callsOf("IMAPIFolder::GetHierarchyTable").size(), 2u);  // through the folder "team"
}

TEST_F(FolderPathTest, ExactNameBehindAnAddressStillWins) {
  world.addFolder(1, World::subtree, L"team@example.org");
  const int plain = world.addFolder(1, World::subtree, L"team");
  world.addFolder(1, plain, L"example.org");
  EXPECT_EQ(reach(L"Public Folders@team@example.org"), "Public Folders@team@example.org");
  EXPECT_EQ(mapi.callsOf("IMAPIFolder::GetHierarchyTable").size(), 2u);
}

TEST_F(FolderPathTest, ExactNameWinsEvenWhereItLeadsNowhere) {
  world.addFolder(1, World::subtree, L"team@example.org");
  world.addFolder(1, World::subtree, L"team");
  EXPECT_EQ(reach(L"Public Folders@team@example.org"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, LongestAddressWins) {
  world.addFolder(1, World::subtree, L"a@b");
  world.addFolder(1, World::subtree, L"a@b@c");
  world.addFolder(1, World::subtree, L"a@b@");
  EXPECT_EQ(reach(L"Public Folders@a@b@c"), "Public Folders@a@b@c");
  EXPECT_EQ(mapi.callsOf("IMAPIFolder::GetHierarchyTable").size(), 1u);
}

TEST_F(FolderPathTest, AddressMustEndAtAnAtSignOrTheEnd) {
  world.addFolder(1, World::subtree, L"team@example");
  EXPECT_EQ(reach(L"Public Folders@team@example.org"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, AddressThatDiffersInCaseIsNotFound) {
  world.addFolder(1, World::subtree, L"Team@example.org");
  EXPECT_EQ(reach(L"Public Folders@team@example.org"), "");
  EXPECT_EQ(answer, notFound);
}

TEST_F(FolderPathTest, AddressIsFoundAmongTheRowsOfTheSameWalkWithoutFurtherCalls) {
  world.addFolder(1, World::subtree, L"team@example.org");
  rebuildWorld();
  openPath(L"Public Folders@team@example.org");
  const auto before = mapi.calls().size();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  std::vector<std::string> names;
  const auto calls = mapi.calls();
  for (std::size_t index = before; index < calls.size(); ++index)
    if (calls[index].object == "hierarchy of Public Folders (subtree)") names.push_back(calls[index].name);
  EXPECT_THAT(names, ElementsAre("IMAPITable::Restrict", "IMAPITable::SetColumns", "IMAPITable::GetRowCount",
                                 "IMAPITable::SeekRow", "IMAPITable::QueryRows", "IMAPITable::QueryRows"));
}

}  // namespace
}  // namespace fendrel::test
