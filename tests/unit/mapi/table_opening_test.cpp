// How a table is opened and closed, and what is known of its last failure.
#include "bound_mapi.h"
#include "mapi_actions.h"
#include "mapi_row.h"
#include "mapi_table.h"

using namespace fendrel;
using testing::_;
using testing::DoAll;
using testing::NiceMock;
using testing::Return;
using testing::SetArgPointee;
using testing::StrictMock;

namespace {

class TableOpening : public testing::Test {
 protected:
  BoundMapi mapi32;
  StrictMock<MockTable> mock;
  StrictMock<MockFolder> folder;
  StrictMock<MockSession> session;
  CMAPITable table;  // destroyed first
};

TEST_F(TableOpening, NewTableIsClosedAndHasNoResult) {
  EXPECT_EQ(table.lastResult, S_OK);
  EXPECT_EQ(table.lastError, nullptr);
  EXPECT_EQ(table.valid, 1u);
  EXPECT_EQ(table.table, nullptr);
  EXPECT_EQ(table.rowCount, 0u);
  EXPECT_EQ(table.rows, nullptr);
  EXPECT_EQ(table.cursor, 0u);
}

// After a failed opening there is no table; nothing is called on it.
TEST_F(TableOpening, WithoutATableOperationsAreAFailedCall) {
  EXPECT_FALSE(table.OpenHierarchyTable(nullptr));
  static constexpr auto columns = propertyTags(PR_ENTRYID);
  const auto expectFailure = [&](bool answer) {
    EXPECT_FALSE(answer);
    EXPECT_EQ(table.lastResult, MAPI_E_CALL_FAILED);
    table.lastResult = S_OK;
  };
  expectFailure(table.Prepare(columns.array()));
  expectFailure(table.QueryBatch());
  expectFailure(table.ClearRestriction());
  EXPECT_EQ(table.GetLastError(), MAPI_E_CALL_FAILED);
  EXPECT_FALSE(table.GetRowCount());
  EXPECT_EQ(table.NextRow(), nullptr);
  EXPECT_EQ(table.QueryAllColumns(), nullptr);
}

TEST_F(TableOpening, BusyOpeningLeavesNothingToWaitFor) {
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(Return(MAPI_E_BUSY));
  EXPECT_FALSE(table.OpenHierarchyTable(&folder));
  table.WaitIfBusy(0);
  EXPECT_EQ(table.lastResult, MAPI_E_CALL_FAILED);
}

TEST_F(TableOpening, HierarchyIsAskedForWithoutFlags) {
  EXPECT_CALL(folder, GetHierarchyTable(0, _)).WillOnce(handsOut(mock));
  EXPECT_TRUE(table.OpenHierarchyTable(&folder));
  EXPECT_EQ(table.table.Get(), &mock);
}

TEST_F(TableOpening, ContentsAreAskedForWithoutFlags) {
  EXPECT_CALL(folder, GetContentsTable(0, _)).WillOnce(handsOut(mock));
  EXPECT_TRUE(table.OpenContentsTable(&folder));
}

TEST_F(TableOpening, AssociatedContentsAreAskedForWithTheirFlag) {
  EXPECT_CALL(folder, GetContentsTable(0x40, _)).WillOnce(handsOut(mock));
  EXPECT_TRUE(table.OpenAssociatedContentsTable(&folder));
}

TEST_F(TableOpening, MessageStoresAreAskedForWithoutFlags) {
  EXPECT_CALL(session, GetMsgStoresTable(0, _)).WillOnce(handsOut(mock));
  EXPECT_TRUE(table.OpenMsgStoresTable(&session));
}

TEST_F(TableOpening, StatusTableIsOpenedWithItsRowCount) {
  EXPECT_CALL(session, GetStatusTable(0, _)).WillOnce(handsOut(mock));
  EXPECT_CALL(mock, GetRowCount(0, _)).WillOnce(DoAll(SetArgPointee<1>(7), Return(S_OK)));
  EXPECT_TRUE(table.OpenStatusTable(&session));
  EXPECT_EQ(table.rowCount, 7u);
}

TEST_F(TableOpening, StatusTableWithoutRowCountIsOpenAllTheSame) {
  EXPECT_CALL(session, GetStatusTable(0, _)).WillOnce(handsOut(mock));
  EXPECT_CALL(mock, GetRowCount).WillOnce(DoAll(SetArgPointee<1>(7), Return(MAPI_E_NO_ACCESS)));
  EXPECT_TRUE(table.OpenStatusTable(&session));
  EXPECT_EQ(table.rowCount, 0u);
  EXPECT_EQ(table.lastResult, MAPI_E_NO_ACCESS);
}

TEST_F(TableOpening, RefusedTableIsFalseAndItsCodeIsKept) {
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_FALSE(table.OpenHierarchyTable(&folder));
  EXPECT_EQ(table.lastResult, MAPI_E_NO_ACCESS);
  EXPECT_EQ(table.table, nullptr);
}

TEST_F(TableOpening, SuccessWithoutATableIsAFailedCall) {
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(Return(S_OK));
  EXPECT_FALSE(table.OpenHierarchyTable(&folder));
  EXPECT_EQ(table.lastResult, MAPI_E_CALL_FAILED);
}

TEST_F(TableOpening, RefusedStatusTableAsksForNoRowCount) {
  EXPECT_CALL(session, GetStatusTable).WillOnce(Return(MAPI_E_CALL_FAILED));
  EXPECT_FALSE(table.OpenStatusTable(&session));
  EXPECT_EQ(table.lastResult, MAPI_E_CALL_FAILED);
}

TEST_F(TableOpening, NullInterfaceIsFalseAndLeavesTheLastResultAlone) {
  table.lastResult = MAPI_E_NO_ACCESS;
  EXPECT_FALSE(table.OpenHierarchyTable(nullptr));
  EXPECT_FALSE(table.OpenContentsTable(nullptr));
  EXPECT_FALSE(table.OpenAssociatedContentsTable(nullptr));
  EXPECT_FALSE(table.OpenMsgStoresTable(nullptr));
  EXPECT_FALSE(table.OpenStatusTable(nullptr));
  EXPECT_EQ(table.lastResult, MAPI_E_NO_ACCESS);
}

TEST_F(TableOpening, OpeningClosesTheTableThatWasOpen) {
  StrictMock<MockTable> second;
  CMAPITable local;
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(mock));
  EXPECT_CALL(folder, GetContentsTable).WillOnce([&](ULONG, IMAPITable** out) {
    EXPECT_FALSE(mock.isHeld()) << "the first table is still open";
    *out = second.handOut();
    return S_OK;
  });
  local.OpenHierarchyTable(&folder);
  EXPECT_TRUE(local.OpenContentsTable(&folder));
  EXPECT_EQ(local.table.Get(), &second);
}

TEST_F(TableOpening, NullInterfaceClosesTheTableThatWasOpen) {
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(mock));
  table.OpenHierarchyTable(&folder);
  EXPECT_FALSE(table.OpenHierarchyTable(nullptr));
  EXPECT_FALSE(mock.isHeld());
}

TEST_F(TableOpening, DestructionReleasesTableAndRows) {
  TestTable rows(mapi32.heap, {{text(PR_DISPLAY_NAME_A, "a")}});
  {
    CMAPITable local;
    EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(rows));
    local.OpenHierarchyTable(&folder);
    ASSERT_NE(local.NextRow(), nullptr);
  }
  EXPECT_FALSE(rows.isHeld());
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

TEST_F(TableOpening, CloseForgetsTableRowsAndCount) {
  TestTable rows(mapi32.heap, {{text(PR_DISPLAY_NAME_A, "a")}});
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(rows));
  table.OpenHierarchyTable(&folder);
  table.GetRowCount();
  table.NextRow();
  EXPECT_TRUE(table.Close());
  EXPECT_FALSE(rows.isHeld());
  EXPECT_EQ(table.rows, nullptr);
  EXPECT_EQ(table.rowCount, 0u);
  EXPECT_EQ(table.cursor, 0u);
}

TEST_F(TableOpening, CloseAndFreeRowsSucceedWithNothingOpen) {
  EXPECT_TRUE(table.Close());
  EXPECT_TRUE(table.FreeRows());
  EXPECT_EQ(table.lastResult, S_OK);
}

class TableErrorText : public TableOpening {
 protected:
  TableErrorText() {
    EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(mock));
    table.OpenHierarchyTable(&folder);
    table.lastResult = MAPI_E_NO_ACCESS;
  }

  MAPIERROR* errorRecord(const char* words) {
    auto* const record = mapi32.heap.make<MAPIERROR>();
    auto* const copy = mapi32.heap.make<char>(100, record);
    std::strcpy(copy, words);
    record->lpszError = reinterpret_cast<LPTSTR>(copy);
    return record;
  }
};

TEST_F(TableErrorText, IsAskedForInEightBitFormWithTheLastResult) {
  EXPECT_CALL(mock, GetLastError(MAPI_E_NO_ACCESS, 0, _)).WillOnce([&](HRESULT, ULONG, MAPIERROR** out) {
    *out = errorRecord("you may not");
    return S_OK;
  });
  EXPECT_STREQ(table.GetLastErrorText(), "you may not");
}

TEST_F(TableErrorText, IsNullAfterASuccess) {
  table.lastResult = MAPI_W_ERRORS_RETURNED;
  EXPECT_EQ(table.GetLastErrorText(), nullptr);
}

TEST_F(TableErrorText, IsNullWhenTheProviderGivesNoRecord) {
  EXPECT_CALL(mock, GetLastError).WillOnce(DoAll(SetArgPointee<2>(nullptr), Return(S_OK)));
  EXPECT_EQ(table.GetLastErrorText(), nullptr);
}

TEST_F(TableErrorText, IsNullWhenTheProviderRefuses) {
  EXPECT_CALL(mock, GetLastError).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_EQ(table.GetLastErrorText(), nullptr);
}

TEST_F(TableErrorText, IsFreedByTheNextRequest) {
  EXPECT_CALL(mock, GetLastError)
      .WillOnce([&](HRESULT, ULONG, MAPIERROR** out) {
        *out = errorRecord("first");
        return S_OK;
      })
      .WillOnce([&](HRESULT, ULONG, MAPIERROR** out) {
        EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
        *out = errorRecord("second");
        return S_OK;
      });
  table.GetLastErrorText();
  EXPECT_STREQ(table.GetLastErrorText(), "second");
  table.FreeLastError();
  EXPECT_EQ(table.lastError, nullptr);
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

}  // namespace
