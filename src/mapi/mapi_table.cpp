#include "mapi_table.h"

#include "readable_memory.h"

namespace fendrel {

HRESULT CMAPITable::GetLastError() noexcept {
  return table ? table->GetLastError(lastResult, 0, receive(lastError)) : MAPI_E_CALL_FAILED;
}

template <class Call>
bool CMAPITable::open(Call call) noexcept {
  const HRESULT result = call(table.ReleaseAndGetAddressOf());
  lastResult = checkReceived(result, table);
  return SUCCEEDED(lastResult);
}

bool CMAPITable::OpenHierarchyTable(IMAPIContainer* container) noexcept {
  Close();
  return container && open([&](IMAPITable** result) { return container->GetHierarchyTable(0, result); });
}

bool CMAPITable::OpenContentsTable(IMAPIContainer* folder) noexcept {
  Close();
  return folder && open([&](IMAPITable** result) { return folder->GetContentsTable(0, result); });
}

bool CMAPITable::OpenAssociatedContentsTable(IMAPIContainer* folder) noexcept {
  Close();
  return folder && open([&](IMAPITable** result) { return folder->GetContentsTable(MAPI_ASSOCIATED, result); });
}

bool CMAPITable::OpenMsgStoresTable(IMAPISession* session) noexcept {
  Close();
  return session && open([&](IMAPITable** result) { return session->GetMsgStoresTable(0, result); });
}

bool CMAPITable::OpenStatusTable(IMAPISession* session) noexcept {
  Close();
  if (!session || !open([&](IMAPITable** result) { return session->GetStatusTable(0, result); })) return false;
  GetRowCount();
  return true;
}

bool CMAPITable::busyRule(HRESULT result) noexcept {
  lastResult = result;
  WaitIfBusy(busyTimeout);
  return SUCCEEDED(lastResult);
}

bool CMAPITable::isOpen() noexcept {
  if (!table) lastResult = MAPI_E_CALL_FAILED;
  return table != nullptr;
}

void CMAPITable::WaitIfBusy(ULONG timeout) noexcept {
  if (lastResult == MAPI_E_BUSY && isOpen()) lastResult = table->WaitForCompletion(0, timeout, nullptr);
}

bool CMAPITable::GetRowCount() noexcept {
  if (!table) return false;
  if (busyRule(table->GetRowCount(0, &rowCount))) return true;
  rowCount = 0;
  return false;
}

bool CMAPITable::QueryBatch() noexcept {
  if (!isOpen() || !busyRule(table->QueryRows(batchSize, 0, receive(rows)))) return false;
  if (!rows) return true;
  const std::size_t size = CbNewSRowSet(rows->cRows);
  if (readableBytes(rows.get(), size) == size) return true;
  // It counts missing rows; which ones exist is unknown.
  MapiFree{}(rows.release());
  lastResult = MAPI_E_CALL_FAILED;
  return false;
}

bool CMAPITable::FreeRows() noexcept {
  rows.reset();
  cursor = 0;
  return true;
}

bool CMAPITable::Close() noexcept {
  FreeRows();
  table.Reset();
  rowCount = 0;
  return true;
}

bool CMAPITable::ClearRestriction() noexcept {
  FreeRows();
  if (!isOpen()) return false;
  lastResult = table->Restrict(nullptr, 0);
  return SUCCEEDED(lastResult);
}

// MAPI's methods take these arguments as writable but do not write them.
bool CMAPITable::Prepare(const SPropTagArray& columns, const SRestriction* restriction,
                         const SSortOrderSet* sortOrder) noexcept {
  FreeRows();
  if (!isOpen()) return false;
  if (restriction) {
    if (!busyRule(table->Restrict(const_cast<SRestriction*>(restriction), 0))) return false;
  } else {
    table->Restrict(nullptr, 0);
  }
  if (sortOrder && !busyRule(table->SortTable(const_cast<SSortOrderSet*>(sortOrder), 0))) return false;
  if (busyRule(table->SetColumns(const_cast<SPropTagArray*>(&columns), 0)) && GetRowCount())
    busyRule(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr));
  return SUCCEEDED(lastResult);
}

const SRow* CMAPITable::NextRow() noexcept {
  if (!table) return nullptr;
  if (!rows || cursor >= rows->cRows) {
    FreeRows();
    if (!QueryBatch() || !rows || rows->cRows == 0) return nullptr;
  }
  return &rows->aRow[cursor++];
}

MapiBuffer<SPropTagArray> CMAPITable::QueryAllColumns() noexcept {
  MapiBuffer<SPropTagArray> tags;
  if (!table || !busyRule(table->QueryColumns(TBL_ALL_COLUMNS, receive(tags)))) tags.reset();
  return tags;
}

}  // namespace fendrel
