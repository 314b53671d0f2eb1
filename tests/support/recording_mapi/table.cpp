#include "table.h"

#include <fmt/format.h>

#include "buffers.h"

namespace recording {
namespace {

std::vector<ULONG> allColumns(const std::vector<PropertyBag>& rows) {
  std::vector<ULONG> columns;
  if (!rows.empty())
    for (const Property& property : rows.front().all()) columns.push_back(property.tag);
  return columns;
}

}  // namespace

Table::Table(std::string label, std::vector<PropertyBag> rows)
    : RefusingTable("IMAPITable", std::move(label), {&IID_IMAPITable}),
      rows_(std::move(rows)),
      columns_(allColumns(rows_)) {}

STDMETHODIMP Table::SetColumns(LPSPropTagArray columns, ULONG flags) {
  return perform("SetColumns", "columns=" + columnNames(columns) + " flags=" + hex(flags), [&]() -> HRESULT {
    if (!columns) return MAPI_E_INVALID_PARAMETER;
    columns_.assign(columns->aulPropTag, columns->aulPropTag + columns->cValues);
    return S_OK;
  });
}

STDMETHODIMP Table::QueryColumns(ULONG flags, LPSPropTagArray* columns) {
  return perform("QueryColumns", "flags=" + hex(flags), [&]() -> HRESULT {
    const std::vector<ULONG> tags = (flags & TBL_ALL_COLUMNS) != 0 ? allColumns(rows_) : columns_;
    auto* const array = static_cast<SPropTagArray*>(
        buffers().allocate(CbNewSPropTagArray(static_cast<ULONG>(tags.size())), "QueryColumns"));
    array->cValues = static_cast<ULONG>(tags.size());
    std::ranges::copy(tags, array->aulPropTag);
    *columns = array;
    return S_OK;
  });
}

STDMETHODIMP Table::GetRowCount(ULONG flags, ULONG* count) {
  return perform("GetRowCount", "flags=" + hex(flags),
                 [&]() -> HRESULT {
                   *count = static_cast<ULONG>(rows_.size());
                   return S_OK;
                 },
                 {.count = count});
}

STDMETHODIMP Table::SeekRow(BOOKMARK origin, LONG rows, LONG* sought) {
  return perform("SeekRow", fmt::format("origin={} rows={}", static_cast<unsigned long>(origin), rows),
                 [&]() -> HRESULT {
                   const auto size = static_cast<LONG>(rows_.size());
                   const LONG start = origin == BOOKMARK_BEGINNING ? 0
                                      : origin == BOOKMARK_END     ? size
                                                                   : static_cast<LONG>(position_);
                   const LONG target = std::clamp<LONG>(start + rows, 0, size);
                   if (sought) *sought = target - start;
                   position_ = static_cast<std::size_t>(target);
                   return target == start + rows ? S_OK : MAPI_W_POSITION_CHANGED;
                 });
}

STDMETHODIMP Table::Restrict(LPSRestriction restriction, ULONG flags) {
  return perform("Restrict", std::string("restriction=") + (restriction ? "given" : "null") + " flags=" + hex(flags),
                 [&]() -> HRESULT { return restriction ? MAPI_E_TOO_COMPLEX : S_OK; });
}

STDMETHODIMP Table::QueryRows(LONG count, ULONG flags, LPSRowSet* rows) {
  return perform(
      "QueryRows", fmt::format("rows={} flags={:#x}", count, static_cast<unsigned long>(flags)),
      [&]() -> HRESULT {
        if (count < 0) return MAPI_E_NO_SUPPORT;
        const std::size_t batch = std::min<std::size_t>(static_cast<std::size_t>(count), rows_.size() - position_);
        auto* const set = static_cast<SRowSet*>(buffers().allocate(CbNewSRowSet(static_cast<ULONG>(batch)), "row set"));
        set->cRows = static_cast<ULONG>(batch);
        for (std::size_t index = 0; index < batch; ++index) {
          auto* const values =
              static_cast<SPropValue*>(buffers().allocate(columns_.size() * sizeof(SPropValue), "row of " + label()));
          for (std::size_t column = 0; column < columns_.size(); ++column)
            encode(rows_[position_ + index], columns_[column], PT_STRING8, values, values[column]);
          set->aRow[index] = {0, static_cast<ULONG>(columns_.size()), values};
        }
        if ((flags & TBL_NOADVANCE) == 0) position_ += batch;
        *rows = set;
        return S_OK;
      },
      {.rows = rows});
}

STDMETHODIMP Table::WaitForCompletion(ULONG flags, ULONG timeout, ULONG* status) {
  return perform(
      "WaitForCompletion",
      fmt::format("flags={:#x} timeout={}", static_cast<unsigned long>(flags), static_cast<unsigned long>(timeout)),
      [&]() -> HRESULT {
        if (status) *status = TBLSTAT_COMPLETE;
        return S_OK;
      });
}

}  // namespace recording
