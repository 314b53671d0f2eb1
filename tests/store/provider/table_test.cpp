// IMAPITable: columns, positions, sorting, rows in both directions.
#include "store_fixture.h"

namespace {

using testing::ElementsAre;

struct TableTest : FolderTest {
  // Messages "m0", "m1" ... with an importance that counts down.
  void fill(int count) {
    for (int i = 0; i < count; ++i) {
      ComPtr<IMessage> message;
      ASSERT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
      const std::wstring subject = L"m" + std::to_wstring(i);
      SPropValue values[] = {textValue(PR_SUBJECT_W, subject.c_str()), longValue(PR_PRIORITY, count - i)};
      ASSERT_EQ(message->SetProps(2, values, nullptr), S_OK);
      ASSERT_EQ(message->SaveChanges(0), S_OK);
    }
  }

  void open(ULONG flags = 0) {
    ASSERT_EQ(reports->GetContentsTable(flags, table.ReleaseAndGetAddressOf()), S_OK);
    Tags columns{PR_SUBJECT_W};
    ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  }

  std::vector<std::wstring> query(LONG count, ULONG flags = 0) {
    Rows rows;
    EXPECT_EQ(table->QueryRows(count, flags, receive(rows)), S_OK);
    std::vector<std::wstring> texts;
    for (ULONG row = 0; rows && row < rows->cRows; ++row) texts.push_back(rows->aRow[row].lpProps[0].Value.lpszW);
    return texts;
  }

  ComPtr<IMAPITable> table;
};

TEST_F(TableTest, RowsComeInBatchesUntilNoneIsLeft) {
  fill(5);
  open();
  EXPECT_THAT(query(2), ElementsAre(L"m0", L"m1"));
  EXPECT_THAT(query(2), ElementsAre(L"m2", L"m3"));
  EXPECT_THAT(query(2), ElementsAre(L"m4"));
  EXPECT_THAT(query(2), ElementsAre());
}

TEST_F(TableTest, ANegativeCountReadsTheRowsBeforeTheCursorForward) {
  fill(5);
  open();
  ASSERT_EQ(table->SeekRow(BOOKMARK_END, 0, nullptr), S_OK);
  EXPECT_THAT(query(-2, TBL_NOADVANCE), ElementsAre(L"m3", L"m4"));
  EXPECT_THAT(query(-2, TBL_NOADVANCE), ElementsAre(L"m1", L"m2"));
  EXPECT_THAT(query(-2, TBL_NOADVANCE), ElementsAre(L"m0"));
  EXPECT_THAT(query(-2, TBL_NOADVANCE), ElementsAre());
}

TEST_F(TableTest, NoAdvanceLeavesTheCursorBeforeTheFirstRow) {
  fill(3);
  open();
  EXPECT_THAT(query(2, TBL_NOADVANCE), ElementsAre(L"m0", L"m1"));
  EXPECT_THAT(query(1), ElementsAre(L"m0"));
}

TEST_F(TableTest, NoRowsAtAllAreNoQuestion) {
  open();
  Rows rows;
  EXPECT_THAT(table->QueryRows(0, 0, receive(rows)), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(table->QueryRows(1, 0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(TableTest, EachRowsPropertiesAreABlockOfTheirOwn) {
  fill(2);
  open();
  SRowSet* rows = nullptr;
  ASSERT_EQ(table->QueryRows(2, 0, &rows), S_OK);
  EXPECT_EQ(mapi().freeBuffer(rows->aRow[1].lpProps), 0u);
  EXPECT_STREQ(rows->aRow[0].lpProps[0].Value.lpszW, L"m0");
  EXPECT_EQ(mapi().freeBuffer(rows->aRow[0].lpProps), 0u);
  EXPECT_EQ(mapi().freeBuffer(rows), 0u);
}

TEST_F(TableTest, TextComesInTheFormThatIsAskedFor) {
  fill(1);
  open();
  Tags columns{PR_SUBJECT_A, PR_SUBJECT_W, PROP_TAG(PT_UNSPECIFIED, PROP_ID(PR_SUBJECT_W))};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(1, 0, receive(rows)), S_OK);
  const SPropValue* values = rows->aRow[0].lpProps;
  EXPECT_STREQ(values[0].Value.lpszA, "m0");
  EXPECT_STREQ(values[1].Value.lpszW, L"m0");
  EXPECT_EQ(values[2].ulPropTag, PR_SUBJECT_A);
  EXPECT_STREQ(values[2].Value.lpszA, "m0");
}

TEST_F(TableTest, AUnicodeTableAnswersUnspecifiedColumnsWide) {
  fill(1);
  open(MAPI_UNICODE);
  Tags columns{PROP_TAG(PT_UNSPECIFIED, PROP_ID(PR_SUBJECT_W))};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(1, 0, receive(rows)), S_OK);
  EXPECT_EQ(rows->aRow[0].lpProps[0].ulPropTag, PR_SUBJECT_W);
}

TEST_F(TableTest, AMissingColumnIsAnErrorValue) {
  fill(1);
  open();
  Tags columns{PR_COMMENT_W, PROP_TAG(PT_LONG, PROP_ID(PR_SUBJECT_W))};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(1, 0, receive(rows)), S_OK);
  EXPECT_EQ(rows->aRow[0].lpProps[0].ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(PR_COMMENT_W)));
  EXPECT_EQ(rows->aRow[0].lpProps[0].Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(rows->aRow[0].lpProps[1].ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(PR_SUBJECT_W)));
}

TEST_F(TableTest, AValueOfMoreThan32KiBIsNotReadForAColumn) {
  constexpr ULONG tagData = PROP_TAG(PT_BINARY, 0x6610);
  for (const std::size_t size : {std::size_t{32 * 1024}, std::size_t{32 * 1024 + 1}}) {
    ComPtr<IMessage> message;
    ASSERT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
    std::vector<BYTE> bytes(size, 7);
    SPropValue value{};
    value.ulPropTag = tagData;
    value.Value.bin = {static_cast<ULONG>(size), bytes.data()};
    ASSERT_EQ(message->SetProps(1, &value, nullptr), S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }
  open();
  Tags columns{tagData};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(2, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 2u);
  const SPropValue& whole = rows->aRow[0].lpProps[0];
  ASSERT_EQ(whole.ulPropTag, tagData);
  EXPECT_EQ(whole.Value.bin.cb, 32u * 1024);
  const SPropValue& tooLong = rows->aRow[1].lpProps[0];
  ASSERT_EQ(tooLong.ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(tagData)));
  EXPECT_EQ(tooLong.Value.err, MAPI_E_NOT_ENOUGH_MEMORY);
}

TEST_F(TableTest, ColumnsAreThoseThatWereSet) {
  open();
  Block<SPropTagArray> columns;
  ASSERT_EQ(table->QueryColumns(0, receive(columns)), S_OK);
  ASSERT_EQ(columns->cValues, 1u);
  EXPECT_EQ(columns->aulPropTag[0], PR_SUBJECT_W);
}

TEST_F(TableTest, AllColumnsAreMoreThanTheDefaultOnes) {
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  Block<SPropTagArray> preset, all;
  ASSERT_EQ(table->QueryColumns(0, receive(preset)), S_OK);
  ASSERT_EQ(table->QueryColumns(TBL_ALL_COLUMNS, receive(all)), S_OK);
  EXPECT_GT(all->cValues, preset->cValues);
  const std::vector<ULONG> tags(all->aulPropTag, all->aulPropTag + all->cValues);
  EXPECT_THAT(tags, testing::IsSupersetOf({PR_ENTRYID, PR_SUBJECT_A, PR_MESSAGE_CLASS_A}));
}

TEST_F(TableTest, NoColumnsAreRefused) {
  open();
  Tags none{};
  EXPECT_THAT(table->SetColumns(none, 0), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(table->SetColumns(nullptr, 0), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(TableTest, TheRowCountFollowsTheRestriction) {
  fill(3);
  open();
  ULONG count = 0;
  ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 3u);
  SPropValue m1 = textValue(PR_SUBJECT_W, L"m1");
  SRestriction only{};
  only.rt = RES_PROPERTY;
  only.res.resProperty = {RELOP_EQ, PR_SUBJECT_W, &m1};
  ASSERT_EQ(table->Restrict(&only, 0), S_OK);
  ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 1u);
  ASSERT_EQ(table->Restrict(nullptr, 0), S_OK);
  ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 3u);
}

TEST_F(TableTest, SeekingStopsAtTheEnds) {
  fill(3);
  open();
  LONG sought = 0;
  ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 2, &sought), S_OK);
  EXPECT_EQ(sought, 2);
  EXPECT_THAT(query(1), ElementsAre(L"m2"));
  ASSERT_EQ(table->SeekRow(BOOKMARK_CURRENT, -2, &sought), S_OK);
  EXPECT_EQ(sought, -2);
  EXPECT_THAT(query(1), ElementsAre(L"m1"));
  ASSERT_EQ(table->SeekRow(BOOKMARK_END, 5, &sought), S_OK);
  EXPECT_EQ(sought, 0);
  ASSERT_EQ(table->SeekRow(BOOKMARK_CURRENT, -50, &sought), S_OK);
  EXPECT_EQ(sought, -3);
  EXPECT_THAT(table->SeekRow(77, 0, nullptr), Gives(MAPI_E_INVALID_BOOKMARK));
}

TEST_F(TableTest, ABookmarkIsAPlaceToReturnTo) {
  fill(4);
  open();
  query(2);
  Bookmark place;
  ASSERT_EQ(table->CreateBookmark(&place.place), S_OK);
  query(2);
  ASSERT_EQ(table->SeekRow(place, 0, nullptr), S_OK);
  EXPECT_THAT(query(1), ElementsAre(L"m2"));
  EXPECT_EQ(table->FreeBookmark(place), S_OK);
  EXPECT_THAT(table->SeekRow(place, 0, nullptr), Gives(MAPI_E_INVALID_BOOKMARK));
  EXPECT_THAT(table->FreeBookmark(place), Gives(MAPI_E_INVALID_BOOKMARK));
}

TEST_F(TableTest, PositionsAreFractions) {
  fill(4);
  open();
  ASSERT_EQ(table->SeekRowApprox(1, 2), S_OK);
  ULONG row = 0, numerator = 0, denominator = 0;
  ASSERT_EQ(table->QueryPosition(&row, &numerator, &denominator), S_OK);
  EXPECT_EQ(row, 2u);
  EXPECT_EQ(numerator * 2, denominator);
  ASSERT_EQ(table->SeekRowApprox(9, 2), S_OK);
  EXPECT_THAT(query(1), ElementsAre());
  EXPECT_THAT(table->SeekRowApprox(1, 0), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(TableTest, SortingByNumberAndDirection) {
  fill(3);
  open();
  SSortOrderSet ascending{1, 0, 0, {{PR_PRIORITY, TABLE_SORT_ASCEND}}};
  ASSERT_EQ(table->SortTable(&ascending, 0), S_OK);
  EXPECT_THAT(query(9), ElementsAre(L"m2", L"m1", L"m0"));
  SSortOrderSet descending{1, 0, 0, {{PR_PRIORITY, TABLE_SORT_DESCEND}}};
  ASSERT_EQ(table->SortTable(&descending, 0), S_OK);
  EXPECT_THAT(query(9), ElementsAre(L"m0", L"m1", L"m2"));
}

TEST_F(TableTest, SortingByTwoColumns) {
  for (const auto& [subject, priority] : {std::pair{L"b", 1}, {L"a", 2}, {L"c", 1}, {L"B", 0}}) {
    ComPtr<IMessage> message;
    ASSERT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
    SPropValue values[] = {textValue(PR_SUBJECT_W, subject), longValue(PR_PRIORITY, priority)};
    ASSERT_EQ(message->SetProps(2, values, nullptr), S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }
  open();
  SizedSSortOrderSet(2, order) = {2, 0, 0, {{PR_PRIORITY, TABLE_SORT_DESCEND}, {PR_SUBJECT_W, TABLE_SORT_ASCEND}}};
  ASSERT_EQ(table->SortTable(reinterpret_cast<LPSSortOrderSet>(&order), 0), S_OK);
  EXPECT_THAT(query(9), ElementsAre(L"a", L"b", L"c", L"B"));
}

TEST_F(TableTest, TextSortsWithoutCase) {
  for (const wchar_t* subject : {L"beta", L"Alpha", L"alpha2", L"Beta2"}) post(*reports.Get(), subject);
  open();
  SSortOrderSet order{1, 0, 0, {{PR_SUBJECT_W, TABLE_SORT_ASCEND}}};
  ASSERT_EQ(table->SortTable(&order, 0), S_OK);
  EXPECT_THAT(query(9), ElementsAre(L"Alpha", L"alpha2", L"beta", L"Beta2"));
}

TEST_F(TableTest, TheSortOrderCanBeAskedFor) {
  open();
  SSortOrderSet order{1, 0, 0, {{PR_PRIORITY, TABLE_SORT_DESCEND}}};
  ASSERT_EQ(table->SortTable(&order, 0), S_OK);
  Block<SSortOrderSet> told;
  ASSERT_EQ(table->QuerySortOrder(receive(told)), S_OK);
  ASSERT_EQ(told->cSorts, 1u);
  EXPECT_EQ(told->aSort[0].ulPropTag, PR_PRIORITY);
  EXPECT_EQ(told->aSort[0].ulOrder, TABLE_SORT_DESCEND);
}

TEST_F(TableTest, CategoriesAreTooComplex) {
  open();
  SSortOrderSet order{1, 1, 0, {{PR_PRIORITY, TABLE_SORT_ASCEND}}};
  EXPECT_THAT(table->SortTable(&order, 0), Gives(MAPI_E_TOO_COMPLEX));
  EXPECT_THAT(table->SortTable(nullptr, 0), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(TableTest, FindingGoesForwardAndBackward) {
  fill(6);
  open();
  SPropValue two = longValue(PR_PRIORITY, 3);
  SRestriction low{};
  low.rt = RES_PROPERTY;
  low.res.resProperty = {RELOP_LE, PR_PRIORITY, &two};
  ASSERT_EQ(table->FindRow(&low, BOOKMARK_BEGINNING, 0), S_OK);
  EXPECT_THAT(query(1), ElementsAre(L"m3"));
  ASSERT_EQ(table->FindRow(&low, BOOKMARK_END, DIR_BACKWARD), S_OK);
  EXPECT_THAT(query(1), ElementsAre(L"m5"));
  SPropValue none = longValue(PR_PRIORITY, 0);
  low.res.resProperty.lpProp = &none;
  EXPECT_THAT(table->FindRow(&low, BOOKMARK_BEGINNING, 0), Gives(MAPI_E_NOT_FOUND));
  EXPECT_THAT(table->FindRow(nullptr, BOOKMARK_BEGINNING, 0), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(TableTest, ARowDeletedMeanwhileKeepsItsPlaceWithErrorsInIt) {
  fill(3);
  open();
  ULONG count = 0;
  ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
  Bytes id = binary(*openFirst(*reports.Get()).Get(), PR_ENTRYID);
  SBinary entry{static_cast<ULONG>(id.size()), id.data()};
  ENTRYLIST list{1, &entry};
  ASSERT_EQ(reports->DeleteMessages(&list, 0, nullptr, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(3, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 3u);
  EXPECT_EQ(PROP_TYPE(rows->aRow[0].lpProps[0].ulPropTag), PT_ERROR);
  EXPECT_STREQ(rows->aRow[1].lpProps[0].Value.lpszW, L"m1");
}

TEST_F(TableTest, OrdinaryAndAssociatedMessagesAreApart) {
  post(*reports.Get(), L"seen");
  ComPtr<IMessage> hidden;
  ASSERT_EQ(reports->CreateMessage(nullptr, MAPI_ASSOCIATED, hidden.GetAddressOf()), S_OK);
  SPropValue name = textValue(PR_DISPLAY_NAME_W, L"template");
  ASSERT_EQ(hidden->SetProps(1, &name, nullptr), S_OK);
  ASSERT_EQ(hidden->SaveChanges(0), S_OK);
  ASSERT_EQ(reports->GetContentsTable(MAPI_ASSOCIATED, table.GetAddressOf()), S_OK);
  EXPECT_THAT(column(*table.Get(), PR_DISPLAY_NAME_W), ElementsAre(L"template"));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"seen"));
}

TEST_F(TableTest, IsAlwaysComplete) {
  open();
  ULONG status = 9, type = 9;
  EXPECT_EQ(table->GetStatus(&status, &type), S_OK);
  EXPECT_EQ(status, TBLSTAT_COMPLETE);
  EXPECT_EQ(table->WaitForCompletion(0, 5000, nullptr), S_OK);
  EXPECT_EQ(table->Abort(), S_OK);
  LPMAPIERROR error = nullptr;
  EXPECT_EQ(table->GetLastError(MAPI_E_NOT_FOUND, 0, &error), S_OK);
}

TEST_F(TableTest, WhatIsNotSupportedSaysSo) {
  open();
  ULONG value = 0;
  EXPECT_THAT(table->Advise(0, nullptr, nullptr), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(table->Unadvise(1), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(table->ExpandRow(0, nullptr, 0, 0, nullptr, &value), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(table->CollapseRow(0, nullptr, 0, &value), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(table->GetCollapseState(0, 0, nullptr, &value, nullptr), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(table->SetCollapseState(0, 0, nullptr, nullptr), Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(TableTest, OutlivesItsFolderAndSession) {
  fill(2);
  open();
  reports.Reset();
  subtree.Reset();
  store.Reset();
  session->Logoff(0, 0, 0);
  session.Reset();
  EXPECT_THAT(query(9), ElementsAre(L"m0", L"m1"));
}

SRestriction exists(ULONG tag) {
  SRestriction restriction{};
  restriction.rt = RES_EXIST;
  restriction.res.resExist.ulPropTag = tag;
  return restriction;
}

TEST_F(TableTest, APlaceKeptFreeIsAnswered) {
  fill(2);
  constexpr ULONG noIdentifier = PROP_TAG(PT_LONG, 0);
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  Tags columns{PR_NULL, PR_SUBJECT_W, noIdentifier, PR_NULL};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  for (int look = 0; look < 2; ++look) {
    Rows rows;
    ASSERT_EQ(table->QueryRows(2, TBL_NOADVANCE, receive(rows)), S_OK);
    ASSERT_EQ(rows->cRows, 2u);
    const SPropValue* values = rows->aRow[1].lpProps;
    EXPECT_EQ(values[0].ulPropTag, PR_NULL);
    EXPECT_STREQ(values[1].Value.lpszW, L"m1");
    EXPECT_EQ(values[2].ulPropTag, PROP_TAG(PT_ERROR, 0));
    EXPECT_EQ(values[3].ulPropTag, PR_NULL);
  }
}

TEST_F(TableTest, NothingIsKnownOfNoProperty) {
  fill(3);
  open();
  for (const ULONG tag : {PR_NULL, PROP_TAG(PT_LONG, 0), PROP_TAG(PT_UNSPECIFIED, 0)}) {
    SCOPED_TRACE(tag);
    SRestriction nothing = exists(tag);
    ASSERT_EQ(table->Restrict(&nothing, 0), S_OK);
    EXPECT_THAT(query(9), ElementsAre());
    EXPECT_THAT(table->FindRow(&nothing, BOOKMARK_BEGINNING, 0), Gives(MAPI_E_NOT_FOUND));
    ASSERT_EQ(table->Restrict(nullptr, 0), S_OK);
    SSortOrderSet order{1, 0, 0, {{tag, TABLE_SORT_DESCEND}}};
    ASSERT_EQ(table->SortTable(&order, 0), S_OK);
    EXPECT_THAT(query(9), ElementsAre(L"m0", L"m1", L"m2"));
  }
}

TEST_F(TableTest, HierarchiesAnswerAPlaceKeptFreeToo) {
  createFolder(*reports.Get(), L"Daily");
  ASSERT_EQ(reports->GetHierarchyTable(0, table.GetAddressOf()), S_OK);
  Tags columns{PR_NULL, PR_DISPLAY_NAME_W};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(1, 0, receive(rows)), S_OK);
  EXPECT_EQ(rows->aRow[0].lpProps[0].ulPropTag, PR_NULL);
  EXPECT_STREQ(rows->aRow[0].lpProps[1].Value.lpszW, L"Daily");
}

TEST_F(TableTest, BookmarksEndWithRestrictAndSortTable) {
  fill(5);
  open();
  SRestriction all = exists(PR_SUBJECT_W), two{};
  SPropValue least = longValue(PR_PRIORITY, 2);
  two.rt = RES_PROPERTY;
  two.res.resProperty = {RELOP_LE, PR_PRIORITY, &least};
  SSortOrderSet order{1, 0, 0, {{PR_PRIORITY, TABLE_SORT_ASCEND}}};
  const auto mark = [&] {
    Bookmark place;
    EXPECT_EQ(table->SeekRow(BOOKMARK_END, 0, nullptr), S_OK);
    EXPECT_EQ(table->CreateBookmark(&place.place), S_OK);
    EXPECT_EQ(table->SeekRow(place, 0, nullptr), S_OK);
    return place;
  };
  const auto expectEnded = [&](const Bookmark& place) {
    EXPECT_THAT(table->SeekRow(place, 0, nullptr), Gives(MAPI_E_INVALID_BOOKMARK));
    EXPECT_THAT(table->FindRow(&all, place, DIR_BACKWARD), Gives(MAPI_E_INVALID_BOOKMARK));
    EXPECT_THAT(table->FindRow(&all, place, 0), Gives(MAPI_E_INVALID_BOOKMARK));
    EXPECT_THAT(table->FreeBookmark(place), Gives(MAPI_E_INVALID_BOOKMARK));
  };
  const Bookmark first = mark();
  ASSERT_EQ(table->Restrict(&two, 0), S_OK);
  expectEnded(first);
  EXPECT_THAT(query(9), ElementsAre(L"m3", L"m4"));
  const Bookmark second = mark();
  ASSERT_EQ(table->SortTable(&order, 0), S_OK);
  expectEnded(second);
  const Bookmark third = mark();
  EXPECT_NE(third.wide, first.wide) << "an old bookmark must not become another place";
  expectEnded(first);
  ASSERT_EQ(table->Restrict(nullptr, 0), S_OK);
  expectEnded(third);
  EXPECT_THAT(query(9), ElementsAre(L"m4", L"m3", L"m2", L"m1", L"m0"));
}

TEST_F(TableTest, ARowForEachValueIsRefused) {
  fill(1);
  open();
  constexpr ULONG many = PROP_TAG(PT_MV_UNICODE, 0x6670);
  Tags whole{many}, each{MVI_PROP(many)};
  EXPECT_THAT(table->SetColumns(each, 0), Gives(MAPI_E_TOO_COMPLEX));
  EXPECT_THAT(query(1), ElementsAre(L"m0")) << "the columns are those of before";
  EXPECT_THAT(table->SetColumns(whole, 0), Gives(S_OK));
  SSortOrderSet order{1, 0, 0, {{MVI_PROP(many), TABLE_SORT_ASCEND}}};
  EXPECT_THAT(table->SortTable(&order, 0), Gives(MAPI_E_TOO_COMPLEX));
}

TEST_F(TableTest, ContentsOfferWhereTheirMessagesAre) {
  fill(1);
  for (const auto& target : {reports, openAgain(*reports.Get(), *openStore(*logon().Get(), L"Public").Get())}) {
    ASSERT_EQ(target->GetContentsTable(0, table.ReleaseAndGetAddressOf()), S_OK);
    Block<SPropTagArray> preset;
    ASSERT_EQ(table->QueryColumns(0, receive(preset)), S_OK);
    const std::vector<ULONG> tags(preset->aulPropTag, preset->aulPropTag + preset->cValues);
    EXPECT_THAT(tags, testing::IsSupersetOf({PR_DISPLAY_CC_A, PR_MAPPING_SIGNATURE, PR_MSG_STATUS, PR_PARENT_ENTRYID,
                                             PR_STORE_ENTRYID, PR_STORE_RECORD_KEY}));
    Tags columns{PR_DISPLAY_CC_W,   PR_MAPPING_SIGNATURE, PR_MSG_STATUS,
                 PR_PARENT_ENTRYID, PR_STORE_ENTRYID,     PR_STORE_RECORD_KEY};
    ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
    Rows rows;
    ASSERT_EQ(table->QueryRows(1, 0, receive(rows)), S_OK);
    const SPropValue* values = rows->aRow[0].lpProps;
    EXPECT_STREQ(values[0].Value.lpszW, L"");
    EXPECT_EQ(bytesOf(values[1]), binary(*store.Get(), PR_MAPPING_SIGNATURE));
    EXPECT_EQ(values[2].Value.l, 0);
    EXPECT_EQ(bytesOf(values[3]), binary(*reports.Get(), PR_ENTRYID));
    EXPECT_EQ(bytesOf(values[4]), binary(*store.Get(), PR_ENTRYID));
    EXPECT_EQ(bytesOf(values[5]), binary(*store.Get(), PR_RECORD_KEY));
  }
}

}  // namespace
