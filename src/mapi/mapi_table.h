// One open MAPI table and the batch of rows last read from it.
#pragma once

#include "mapi_object.h"

namespace fendrel {

// Every operation that calls MAPI keeps the call's result in lastResult; a true result means that it is not negative.
// A call that answers MAPI_E_BUSY is waited for, once, and not issued again: when the wait succeeds the operation
// counts as successful, although its out-value may be as it was. Without a table Prepare, QueryBatch, ClearRestriction
// and GetLastError fail with MAPI_E_CALL_FAILED.
class CMAPITable : public CMAPIObject {
 public:
  static constexpr LONG batchSize = 50;       // rows
  static constexpr ULONG busyTimeout = 5000;  // milliseconds

  ~CMAPITable() override { Close(); }
  HRESULT GetLastError() noexcept override;

  // Each closes first and is false for a null interface, leaving lastResult alone.
  bool OpenHierarchyTable(IMAPIContainer* container) noexcept;
  bool OpenContentsTable(IMAPIContainer* folder) noexcept;
  bool OpenAssociatedContentsTable(IMAPIContainer* folder) noexcept;
  bool OpenMsgStoresTable(IMAPISession* session) noexcept;
  bool OpenStatusTable(IMAPISession* session) noexcept;  // also reads rowCount

  // Chooses columns, restriction and sort order (either may be null) and stands before the first row.
  bool Prepare(const SPropTagArray& columns, const SRestriction* restriction = nullptr,
               const SSortOrderSet* sortOrder = nullptr) noexcept;

  // The next row, or null at the end and on failure. Valid until the next NextRow, FreeRows, Prepare or Close.
  const SRow* NextRow() noexcept;

  bool GetRowCount() noexcept;
  bool QueryBatch() noexcept;
  bool FreeRows() noexcept;
  bool Close() noexcept;
  bool ClearRestriction() noexcept;

  // All columns that the table can give, or null.
  MapiBuffer<SPropTagArray> QueryAllColumns() noexcept;

  // Waits when lastResult is MAPI_E_BUSY; the wait's result becomes lastResult. `timeout` in milliseconds.
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
