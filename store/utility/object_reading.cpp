#include "object_reading.h"

#include <algorithm>
#include <vector>

namespace fendrel::utility {
namespace {

constexpr LONG rowsAtATime = 500;

}  // namespace

HRESULT readOne(IMAPIProp& object, ULONG tag, MapiBuffer<SPropValue>& value) {
  SPropTagArray tags{1, {tag}};
  ULONG count = 0;
  SPropValue* values = nullptr;
  const HRESULT result = object.GetProps(&tags, 0, &count, &values);
  MapiBuffer<SPropValue> owned(values);
  if (FAILED(result)) return result;
  if (count != 1 || !owned) return MAPI_E_CALL_FAILED;
  if (PROP_TYPE(owned->ulPropTag) == PT_ERROR) return owned->Value.err;
  value = std::move(owned);
  return S_OK;
}

HRESULT readAllRows(IMAPITable& table, const SPropTagArray* columns, const SRestriction* restriction,
                    const SSortOrderSet* order, LONG mostRows, MapiRows& rows) {
  // The interface declares them writable but does not write them.
  if (columns) {
    const HRESULT result = table.SetColumns(const_cast<SPropTagArray*>(columns), TBL_BATCH);
    if (FAILED(result)) return result;
  }
  if (restriction) {
    const HRESULT result = table.Restrict(const_cast<SRestriction*>(restriction), TBL_BATCH);
    if (FAILED(result)) return result;
  }
  if (order) {
    const HRESULT result = table.SortTable(const_cast<SSortOrderSet*>(order), TBL_BATCH);
    if (FAILED(result)) return result;
  }
  if (const HRESULT result = table.SeekRow(BOOKMARK_BEGINNING, 0, nullptr); FAILED(result)) return result;

  std::vector<SRow> all;
  // Owns rows that are not returned yet.
  struct Owner {
    std::vector<SRow>& rows;
    ~Owner() {
      for (const SRow& row : rows) freeChain(row.lpProps);
    }
  } owner{all};
  for (;;) {
    SRowSet* batch = nullptr;
    const HRESULT result = table.QueryRows(rowsAtATime, 0, &batch);
    MapiRows owned(batch);
    if (FAILED(result)) return result;
    if (!owned || owned->cRows == 0) break;
    all.reserve(all.size() + owned->cRows);
    all.insert(all.end(), owned->aRow, owned->aRow + owned->cRows);
    owned->cRows = 0;  // the rows have a new owner; frees only the set
    if (mostRows > 0 && all.size() > static_cast<std::size_t>(mostRows)) return MAPI_E_TABLE_TOO_BIG;
  }
  MapiRows set(allocateMapi<SRowSet>(CbNewSRowSet(std::max<std::size_t>(all.size(), 1))).release());
  std::ranges::copy(all, set->aRow);
  set->cRows = static_cast<ULONG>(all.size());
  all.clear();
  rows = std::move(set);
  return S_OK;
}

}  // namespace fendrel::utility
