// One open MAPI table and its current batch of rows.
#pragma once

#include "mapi_object.h"

namespace fendrel {

// Every operation that calls MAPI stores the call's result in lastResult; true means that it is not negative. After
// MAPI_E_BUSY the operation waits once and does not repeat the call: if the wait succeeds it returns success, although
// its out-value may be unset. Without a table Prepare, QueryBatch, ClearRestriction and GetLastError fail with
// MAPI_E_CALL_FAILED.
class CMAPITable : public CMAPIObject {
 public:
  static constexpr LONG batchSize = 50;       // rows
  static constexpr ULONG busyTimeout = 5000;  // milliseconds

  ~CMAPITable() override { Close(); }
  HRESULT GetLastError() noexcept override;

  // Each closes the table first; false for a null interface, without changing lastResult.
  bool OpenHierarchyTable(IMAPIContainer* container) noexcept;
  bool OpenContentsTable(IMAPIContainer* folder) noexcept;
  bool OpenAssociatedContentsTable(IMAPIContainer* folder) noexcept;
  bool OpenMsgStoresTable(IMAPISession* session) noexcept;
  bool OpenStatusTable(IMAPISession* session) noexcept;  // also reads rowCount

  // Sets columns, restriction and sort order (both may be null) and seeks to the first row.
  bool Prepare(const SPropTagArray& columns, const SRestriction* restriction = nullptr,
               const SSortOrderSet* sortOrder = nullptr) noexcept;

  // The next row, or null at the end and on failure. Valid until the next NextRow, FreeRows, Prepare or Close.
  const SRow* NextRow() noexcept;

  bool GetRowCount() noexcept;
  bool QueryBatch() noexcept;
  bool FreeRows() noexcept;
  bool Close() noexcept;
  bool ClearRestriction() noexcept;

  // All columns that the table has, or null.
  MapiBuffer<SPropTagArray> QueryAllColumns() noexcept;

  // Waits if lastResult is MAPI_E_BUSY; the wait's result becomes lastResult. `timeout` in milliseconds.
  void WaitIfBusy(ULONG timeout) noexcept;

  ComPtr<IMAPITable> table;
  ULONG rowCount = 0;
  RowSet rows;
  ULONG cursor = 0;

 private:
  template <class Call>
  bool open(Call call) noexcept;
  bool busyRule(HRESULT result) noexcept;
  bool isOpen() noexcept;  // lastResult is MAPI_E_CALL_FAILED when not
};

}  // namespace fendrel
