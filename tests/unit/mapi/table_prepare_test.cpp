// The order in which a table is prepared for reading, and where each step's failure ends it.
#include "bound_mapi.h"
#include "mapi_actions.h"
#include "mapi_row.h"
#include "mapi_table.h"

using namespace fendrel;
using testing::_;
using testing::DoAll;
using testing::InSequence;
using testing::Return;
using testing::SetArgPointee;
using testing::StrictMock;

namespace {

class TablePrepare : public testing::Test {
 protected:
  TablePrepare() {
    EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(mock));
    table.OpenHierarchyTable(&folder);
  }

  void expectColumns(HRESULT result) { EXPECT_CALL(mock, SetColumns(columns.argument(), 0)).WillOnce(Return(result)); }
  void expectRowCount(HRESULT result) { EXPECT_CALL(mock, GetRowCount(0, _)).WillOnce(Return(result)); }
  void expectSeek(HRESULT result) {
    EXPECT_CALL(mock, SeekRow(BOOKMARK_BEGINNING, 0, nullptr)).WillOnce(Return(result));
  }
  void expectWait(HRESULT result) { EXPECT_CALL(mock, WaitForCompletion(0, 5000, nullptr)).WillOnce(Return(result)); }

  static constexpr auto columns = propertyTags(PR_DISPLAY_NAME_A, PR_ENTRYID);
  SRestriction restriction{};
  SSortOrderSet sortOrder{};
  BoundMapi mapi32;
  StrictMock<MockTable> mock;
  StrictMock<MockFolder> folder;
  CMAPITable table;
  InSequence order;
};

TEST_F(TablePrepare, WithoutRestrictionAndSortLiftsTheRestrictionThenSetsColumnsCountsAndSeeks) {
  EXPECT_CALL(mock, Restrict(nullptr, 0)).WillOnce(Return(S_OK));
  expectColumns(S_OK);
  EXPECT_CALL(mock, GetRowCount(0, _)).WillOnce(DoAll(SetArgPointee<1>(9), Return(S_OK)));
  expectSeek(S_OK);
  EXPECT_TRUE(table.Prepare(columns.array()));
  EXPECT_EQ(table.rowCount, 9u);
}

TEST_F(TablePrepare, WithRestrictionAndSortDoesThoseFirst) {
  EXPECT_CALL(mock, Restrict(&restriction, 0)).WillOnce(Return(S_OK));
  EXPECT_CALL(mock, SortTable(&sortOrder, 0)).WillOnce(Return(S_OK));
  expectColumns(S_OK);
  expectRowCount(S_OK);
  expectSeek(S_OK);
  EXPECT_TRUE(table.Prepare(columns.array(), &restriction, &sortOrder));
}

TEST_F(TablePrepare, FailureToLiftTheRestrictionIsNotLookedAt) {
  EXPECT_CALL(mock, Restrict(nullptr, 0)).WillOnce(Return(MAPI_E_BUSY));
  expectColumns(S_OK);
  expectRowCount(S_OK);
  expectSeek(S_OK);
  EXPECT_TRUE(table.Prepare(columns.array()));
}

TEST_F(TablePrepare, RefusedRestrictionEndsIt) {
  EXPECT_CALL(mock, Restrict(&restriction, 0)).WillOnce(Return(MAPI_E_TOO_COMPLEX));
  EXPECT_FALSE(table.Prepare(columns.array(), &restriction, &sortOrder));
  EXPECT_EQ(table.lastResult, MAPI_E_TOO_COMPLEX);
}

TEST_F(TablePrepare, RefusedSortOrderEndsIt) {
  EXPECT_CALL(mock, Restrict(nullptr, 0)).WillOnce(Return(S_OK));
  EXPECT_CALL(mock, SortTable(&sortOrder, 0)).WillOnce(Return(MAPI_E_TOO_COMPLEX));
  EXPECT_FALSE(table.Prepare(columns.array(), nullptr, &sortOrder));
  EXPECT_EQ(table.lastResult, MAPI_E_TOO_COMPLEX);
}

TEST_F(TablePrepare, RefusedColumnsEndItWithoutACount) {
  EXPECT_CALL(mock, Restrict(nullptr, 0)).WillOnce(Return(S_OK));
  expectColumns(MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_FALSE(table.Prepare(columns.array()));
  EXPECT_EQ(table.lastResult, MAPI_E_NOT_ENOUGH_MEMORY);
}

TEST_F(TablePrepare, FailedCountEndsItWithoutASeek) {
  EXPECT_CALL(mock, Restrict(nullptr, 0)).WillOnce(Return(S_OK));
  expectColumns(S_OK);
  expectRowCount(MAPI_E_NO_SUPPORT);
  EXPECT_FALSE(table.Prepare(columns.array()));
  EXPECT_EQ(table.lastResult, MAPI_E_NO_SUPPORT);
}

TEST_F(TablePrepare, FailedSeekIsItsResult) {
  EXPECT_CALL(mock, Restrict(nullptr, 0)).WillOnce(Return(S_OK));
  expectColumns(S_OK);
  expectRowCount(S_OK);
  expectSeek(MAPI_E_INVALID_BOOKMARK);
  EXPECT_FALSE(table.Prepare(columns.array()));
  EXPECT_EQ(table.lastResult, MAPI_E_INVALID_BOOKMARK);
}

TEST_F(TablePrepare, EveryStepIsWaitedForWhenTheTableIsBusy) {
  EXPECT_CALL(mock, Restrict(&restriction, 0)).WillOnce(Return(MAPI_E_BUSY));
  expectWait(S_OK);
  EXPECT_CALL(mock, SortTable(&sortOrder, 0)).WillOnce(Return(MAPI_E_BUSY));
  expectWait(S_OK);
  expectColumns(MAPI_E_BUSY);
  expectWait(S_OK);
  expectRowCount(MAPI_E_BUSY);
  expectWait(S_OK);
  expectSeek(MAPI_E_BUSY);
  expectWait(S_OK);
  EXPECT_TRUE(table.Prepare(columns.array(), &restriction, &sortOrder));
}

TEST_F(TablePrepare, ARestrictionThatIsNeverDoneEndsIt) {
  EXPECT_CALL(mock, Restrict(&restriction, 0)).WillOnce(Return(MAPI_E_BUSY));
  expectWait(MAPI_E_TIMEOUT);
  EXPECT_FALSE(table.Prepare(columns.array(), &restriction));
  EXPECT_EQ(table.lastResult, MAPI_E_TIMEOUT);
}

TEST_F(TablePrepare, FreesTheBatchFirst) {
  EXPECT_CALL(mock, QueryRows).WillOnce([&](LONG, ULONG, SRowSet** out) {
    *out = makeRowSet(mapi32.heap, {{number(PR_ROWID, 1)}}, 0, 1);
    return S_OK;
  });
  EXPECT_CALL(mock, Restrict(nullptr, 0)).WillOnce([&](SRestriction*, ULONG) {
    EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
    return S_OK;
  });
  expectColumns(S_OK);
  expectRowCount(S_OK);
  expectSeek(S_OK);
  ASSERT_NE(table.NextRow(), nullptr);
  EXPECT_TRUE(table.Prepare(columns.array()));
}

}  // namespace
