// A table over a snapshot of rows.
#pragma once

#include "object.h"
#include "properties.h"

namespace recording {

class Table final : public RefusingTable {
 public:
  Table(std::string label, std::vector<PropertyBag> rows);

  STDMETHODIMP SetColumns(LPSPropTagArray columns, ULONG flags) override;
  STDMETHODIMP QueryColumns(ULONG flags, LPSPropTagArray* columns) override;
  STDMETHODIMP GetRowCount(ULONG flags, ULONG* count) override;
  STDMETHODIMP SeekRow(BOOKMARK origin, LONG rows, LONG* sought) override;
  STDMETHODIMP Restrict(LPSRestriction restriction, ULONG flags) override;
  STDMETHODIMP QueryRows(LONG count, ULONG flags, LPSRowSet* rows) override;
  STDMETHODIMP WaitForCompletion(ULONG flags, ULONG timeout, ULONG* status) override;

 private:
  std::vector<PropertyBag> rows_;
  std::vector<ULONG> columns_;
  std::size_t position_ = 0;
};

}  // namespace recording
