// Which row of a table a path component names.
#include "posting_world.h"
#include "target_folder.h"

using namespace fendrel;
using testing::_;
using testing::Args;
using testing::Return;

namespace {

// Opens "Store@PATH", where the store's subtree has the given children; "" for a child that was not found.
class FolderNames : public testing::Test {
 protected:
  std::string opened(std::vector<TestRow> children, const std::wstring& path) {
    TestTable table(world.mapi32.heap, std::move(children));
    EXPECT_CALL(world.top, GetHierarchyTable(0, _)).WillOnce(handsOut(table));
    std::string entry;
    testing::NiceMock<MockFolder> child;
    ON_CALL(child, GetHierarchyTable).WillByDefault(Return(MAPI_E_NO_SUPPORT));
    EXPECT_CALL(world.store, OpenEntry(_, _, nullptr, _, _, _)).Times(1);
    EXPECT_CALL(world.store, OpenEntry(_, _, &IID_IMAPIFolder, _, _, _))
        .Times(testing::AtMost(1))
        .WillRepeatedly([&](ULONG size, ENTRYID* entryId, auto, ULONG flags, ULONG* type, IUnknown** out) {
          entry.assign(reinterpret_cast<const char*>(entryId), size);
          access = flags;
          *type = MAPI_FOLDER;
          *out = child.handOut();
          return S_OK;
        });
    TargetFolder target;
    result = openFolderByPath(&world.session, L"Store@" + path, true, target);
    return entry;
  }

  PostingWorld world;
  HRESULT result = S_OK;
  ULONG access = 0;
};

TEST_F(FolderNames, FirstOfEqualNamesWins) {
  EXPECT_EQ(opened({named("Daily", "first"), named("Daily", "second")}, L"Daily"), "first");
}

TEST_F(FolderNames, CaseMatters) {
  EXPECT_EQ(opened({named("daily", "lower"), named("DAILY", "upper")}, L"Daily"), "");
  EXPECT_EQ(result, MAPI_E_NOT_FOUND);
}

TEST_F(FolderNames, RowsWithoutANameArePassedOver) {
  EXPECT_EQ(opened({{missing(PR_DISPLAY_NAME_A), binary(PR_ENTRYID, "nameless")},
                    {nullText(PR_DISPLAY_NAME_A), binary(PR_ENTRYID, "null")},
                    named("Daily", "daily")},
                   L"Daily"),
            "daily");
}

TEST_F(FolderNames, RowWithoutAnIdentifierIsNotFoundInsteadOfOpeningTheStoresRoot) {
  EXPECT_EQ(opened({{text(PR_DISPLAY_NAME_A, "Daily"), missing(PR_ENTRYID)}}, L"Daily"), "");
  EXPECT_EQ(result, MAPI_E_NOT_FOUND);
}

TEST_F(FolderNames, NamesAreConvertedFromTheAnsiCodePage) {
  const char name[] = "T\xE4glich";
  wchar_t wide[20];
  ASSERT_NE(MultiByteToWideChar(CP_ACP, 0, name, -1, wide, 20), 0);
  EXPECT_EQ(opened({named(name, "daily")}, wide), "daily");
}

TEST_F(FolderNames, AreFoundBehindTheFirstBatch) {
  std::vector<TestRow> rows;
  for (int i = 0; i < 120; ++i) rows.push_back(named("Folder " + std::to_string(i), "id" + std::to_string(i)));
  EXPECT_EQ(opened(rows, L"Folder 119"), "id119");
}

TEST_F(FolderNames, NameOf79CharactersIsFound) {
  EXPECT_EQ(opened({named(std::string(79, 'n'), "long")}, std::wstring(79, L'n')), "long");
}

TEST_F(FolderNames, NameOf80CharactersIsNotFound) {
  EXPECT_EQ(opened({named(std::string(80, 'n'), "longer"), named(std::string(79, 'n'), "cut")},
                   std::wstring(80, L'n')),
            "");
  EXPECT_EQ(result, MAPI_E_NOT_FOUND);
}

TEST_F(FolderNames, AddressNamesItsFolder) {
  EXPECT_EQ(opened({named("ann@example.com", "ann")}, L"ann@example.com"), "ann");
  EXPECT_EQ(access, MAPI_MODIFY) << "it is the last component";
  EXPECT_EQ(result, S_OK);
}

TEST_F(FolderNames, AddressWithMoreBehindItIsOnTheWay) {
  EXPECT_EQ(opened({named("ann@example.com", "ann")}, L"ann@example.com@Reports"), "ann");
  EXPECT_EQ(access, MAPI_BEST_ACCESS);
}

TEST_F(FolderNames, ExactNameWinsOverAnAddressThatStandsBeforeIt) {
  EXPECT_EQ(opened({named("ann@example.com", "address"), named("ann", "exact")}, L"ann@example.com"), "exact");
}

TEST_F(FolderNames, LongestAddressWins) {
  EXPECT_EQ(opened({named("ann@example", "short"), named("ann@example@home", "long"), named("ann@example@ho", "cut")},
                   L"ann@example@home@Reports"),
            "long");
}

TEST_F(FolderNames, FirstOfEqualAddressesWins) {
  EXPECT_EQ(opened({named("ann@example", "first"), named("ann@example", "second")}, L"ann@example"), "first");
}

TEST_F(FolderNames, AddressThatThePathOnlyBeginsWithIsNotFound) {
  EXPECT_EQ(opened({named("ann@example.com", "ann")}, L"ann@example.community"), "");
  EXPECT_EQ(result, MAPI_E_NOT_FOUND);
}

TEST_F(FolderNames, AddressMayBeLongerThan79Characters) {
  const std::string address = std::string(60, 'a') + "@" + std::string(60, 'b');
  EXPECT_EQ(opened({named(address, "long")}, std::wstring(address.begin(), address.end())), "long");
}

TEST(StoreNames, MailboxMayBeNamedByItsAddress) {
  PostingWorld world;
  TestTable stores(world.mapi32.heap, {named("ann@example.org", "other"), named("ann@example.com", "mailbox")});
  EXPECT_CALL(world.session, GetMsgStoresTable).WillOnce(handsOut(stores));
  EXPECT_CALL(world.session, OpenMsgStore).With(Args<1, 2>(isEntry("mailbox"))).WillOnce(handsOut(world.store));
  TargetFolder target;
  EXPECT_EQ(openFolderByPath(&world.session, L"ann@example.com", true, target), S_OK);
  EXPECT_EQ(target.folder.Get(), &world.top);
}

}  // namespace
