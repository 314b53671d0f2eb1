// Reading rows in batches, the busy rule, and the calls on an open table.
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

std::vector<TestRow> numberedRows(int count) {
  std::vector<TestRow> rows;
  for (int i = 0; i < count; ++i) rows.push_back({number(PR_ROWID, i)});
  return rows;
}

class TableReading : public testing::Test {
 protected:
  void open(CMAPITable& table, MockTable& mock) {
    EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(mock));
    table.OpenHierarchyTable(&folder);
  }

  // The row numbers that NextRow returns until it ends.
  std::vector<LONG> readAll(CMAPITable& table) {
    std::vector<LONG> numbers;
    while (const SRow* const row = table.NextRow()) numbers.push_back(row->lpProps[0].Value.l);
    return numbers;
  }

  BoundMapi mapi32;
  StrictMock<MockFolder> folder;
};

class TableBatches : public TableReading, public testing::WithParamInterface<int> {};

TEST_P(TableBatches, EveryRowIsHandedOutOnceInOrder) {
  TestTable rows(mapi32.heap, numberedRows(GetParam()));
  CMAPITable table;
  open(table, rows);
  // A last, empty batch ends the walk when the one before was full.
  EXPECT_CALL(rows, QueryRows(50, 0, _)).Times((GetParam() + 49) / 50 + 1);
  const std::vector<LONG> read = readAll(table);
  ASSERT_EQ(read.size(), static_cast<std::size_t>(GetParam()));
  for (int i = 0; i < GetParam(); ++i) EXPECT_EQ(read[static_cast<std::size_t>(i)], i);
}

INSTANTIATE_TEST_SUITE_P(OfRows, TableBatches, testing::Values(0, 1, 49, 50, 51, 100, 130),
                         testing::PrintToStringParamName());

TEST_F(TableReading, ClosedTableHasNoRowsAndNoCount) {
  CMAPITable table;
  EXPECT_EQ(table.NextRow(), nullptr);
  EXPECT_FALSE(table.GetRowCount());
  EXPECT_EQ(table.QueryAllColumns(), nullptr);
  EXPECT_EQ(table.lastResult, S_OK);
}

TEST_F(TableReading, ABatchIsFreedBeforeTheNextIsRead) {
  TestTable rows(mapi32.heap, numberedRows(51));
  CMAPITable table;
  open(table, rows);
  for (int i = 0; i < 51; ++i) ASSERT_NE(table.NextRow(), nullptr);
  EXPECT_EQ(mapi32.heap.liveBlocks(), 2u) << "one row set with one row";
  EXPECT_EQ(table.cursor, 1u);
}

TEST_F(TableReading, FailedBatchEndsTheWalkAndKeepsItsCode) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, QueryRows(50, 0, _)).WillOnce(Return(MAPI_E_CORRUPT_DATA));
  EXPECT_EQ(table.NextRow(), nullptr);
  EXPECT_EQ(table.lastResult, MAPI_E_CORRUPT_DATA);
}

TEST_F(TableReading, SuccessWithoutARowSetEndsTheWalk) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, QueryRows).WillOnce(Return(S_OK));
  EXPECT_EQ(table.NextRow(), nullptr);
}

TEST_F(TableReading, FreeRowsDropsTheBatchAndTheNextRowReadsAnew) {
  TestTable rows(mapi32.heap, numberedRows(3));
  CMAPITable table;
  open(table, rows);
  table.NextRow();
  EXPECT_TRUE(table.FreeRows());
  EXPECT_EQ(table.cursor, 0u);
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
  EXPECT_EQ(table.NextRow(), nullptr) << "the table itself comes after its three rows";
}

TEST_F(TableReading, RowCountIsRead) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, GetRowCount(0, _)).WillOnce(DoAll(SetArgPointee<1>(12), Return(S_OK)));
  EXPECT_TRUE(table.GetRowCount());
  EXPECT_EQ(table.rowCount, 12u);
}

TEST_F(TableReading, FailedRowCountIsZero) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  table.rowCount = 5;
  EXPECT_CALL(mock, GetRowCount).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_FALSE(table.GetRowCount());
  EXPECT_EQ(table.rowCount, 0u);
  EXPECT_EQ(table.lastResult, MAPI_E_NO_SUPPORT);
}

TEST_F(TableReading, BusyTableIsWaitedForAndTheCallIsNotRepeated) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  table.rowCount = 5;
  InSequence order;
  EXPECT_CALL(mock, GetRowCount).WillOnce(Return(MAPI_E_BUSY));
  EXPECT_CALL(mock, WaitForCompletion(0, 5000, nullptr)).WillOnce(Return(S_OK));
  EXPECT_TRUE(table.GetRowCount());
  EXPECT_EQ(table.rowCount, 5u) << "the count that was not written stays";
  EXPECT_EQ(table.lastResult, S_OK);
}

TEST_F(TableReading, TableThatStaysBusyFailsWithTheResultOfTheWait) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, GetRowCount).WillOnce(Return(MAPI_E_BUSY));
  EXPECT_CALL(mock, WaitForCompletion(0, 5000, nullptr)).WillOnce(Return(MAPI_E_TIMEOUT));
  EXPECT_FALSE(table.GetRowCount());
  EXPECT_EQ(table.lastResult, MAPI_E_TIMEOUT);
}

TEST_F(TableReading, BusyBatchThatCompletesWithoutRowsEndsTheWalk) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, QueryRows).WillOnce(Return(MAPI_E_BUSY));
  EXPECT_CALL(mock, WaitForCompletion).WillOnce(Return(S_OK));
  EXPECT_EQ(table.NextRow(), nullptr);
  EXPECT_EQ(table.lastResult, S_OK);
}

TEST_F(TableReading, OtherFailuresAreNotWaitedFor) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, GetRowCount).WillOnce(Return(MAPI_E_TIMEOUT));
  EXPECT_FALSE(table.GetRowCount());
}

TEST_F(TableReading, WaitTakesTheGivenTimeoutAndOnlyWhenBusy) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  table.WaitIfBusy(10);
  table.lastResult = MAPI_E_BUSY;
  EXPECT_CALL(mock, WaitForCompletion(0, 10, nullptr)).WillOnce(Return(S_OK));
  table.WaitIfBusy(10);
  EXPECT_EQ(table.lastResult, S_OK);
}

TEST_F(TableReading, ClearRestrictionFreesTheBatchAndLiftsTheRestriction) {
  TestTable rows(mapi32.heap, numberedRows(3));
  CMAPITable table;
  open(table, rows);
  table.NextRow();
  EXPECT_CALL(rows, Restrict(nullptr, 0)).WillOnce([&](SRestriction*, ULONG) {
    EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
    return S_OK;
  });
  EXPECT_TRUE(table.ClearRestriction());
}

TEST_F(TableReading, ClearRestrictionTellsItsFailure) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, Restrict(nullptr, 0)).WillOnce(Return(MAPI_E_TOO_COMPLEX));
  EXPECT_FALSE(table.ClearRestriction());
  EXPECT_EQ(table.lastResult, MAPI_E_TOO_COMPLEX);
}

TEST_F(TableReading, AllColumnsAreAskedForAndOwnedByTheCaller) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, QueryColumns(TBL_ALL_COLUMNS, _)).WillOnce([&](ULONG, SPropTagArray** out) {
    *out = mapi32.heap.make<SPropTagArray>();
    (*out)->cValues = 1;
    return S_OK;
  });
  const auto columns = table.QueryAllColumns();
  ASSERT_NE(columns, nullptr);
  EXPECT_EQ(columns->cValues, 1u);
}

TEST_F(TableReading, FailedColumnsFreeWhatWasReturned) {
  StrictMock<MockTable> mock;
  CMAPITable table;
  open(table, mock);
  EXPECT_CALL(mock, QueryColumns).WillOnce([&](ULONG, SPropTagArray** out) {
    *out = mapi32.heap.make<SPropTagArray>();
    return MAPI_E_CALL_FAILED;
  });
  EXPECT_EQ(table.QueryAllColumns(), nullptr);
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

}  // namespace
