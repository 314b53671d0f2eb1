// IMAPITable over any row source.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "mapi_interfaces.h"
#include "object_home.h"
#include "restriction.h"
#include "row_source.h"

namespace fendrel::provider {

// The rows and their order are fixed by the first request, and again after Restrict, SortTable or a change of the
// source's state. Only the rows' keys are held; values are read when rows are returned.
class MapiTable final : public ComObject<IMAPITable> {
 public:
  MapiTable(ObjectHome home, std::unique_ptr<RowSource> source, TextForm form);

  STDMETHODIMP GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override;
  STDMETHODIMP Advise(ULONG eventMask, LPMAPIADVISESINK sink, UlongPtr* connection) override;
  STDMETHODIMP Unadvise(UlongPtr connection) override;
  STDMETHODIMP GetStatus(ULONG* status, ULONG* type) override;
  STDMETHODIMP SetColumns(LPSPropTagArray columns, ULONG flags) override;
  STDMETHODIMP QueryColumns(ULONG flags, LPSPropTagArray* columns) override;
  STDMETHODIMP GetRowCount(ULONG flags, ULONG* count) override;
  STDMETHODIMP SeekRow(BOOKMARK origin, LONG rows, LONG* sought) override;
  STDMETHODIMP SeekRowApprox(ULONG numerator, ULONG denominator) override;
  STDMETHODIMP QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) override;
  STDMETHODIMP FindRow(LPSRestriction restriction, BOOKMARK origin, ULONG flags) override;
  STDMETHODIMP Restrict(LPSRestriction restriction, ULONG flags) override;
  STDMETHODIMP CreateBookmark(BOOKMARK* position) override;
  STDMETHODIMP FreeBookmark(BOOKMARK position) override;
  STDMETHODIMP SortTable(LPSSortOrderSet order, ULONG flags) override;
  STDMETHODIMP QuerySortOrder(LPSSortOrderSet* order) override;
  STDMETHODIMP QueryRows(LONG count, ULONG flags, LPSRowSet* rows) override;
  STDMETHODIMP Abort() override;
  STDMETHODIMP ExpandRow(ULONG keySize, LPBYTE key, ULONG count, ULONG flags, LPSRowSet* rows, ULONG* more) override;
  STDMETHODIMP CollapseRow(ULONG keySize, LPBYTE key, ULONG flags, ULONG* count) override;
  STDMETHODIMP WaitForCompletion(ULONG flags, ULONG timeout, ULONG* status) override;
  STDMETHODIMP GetCollapseState(ULONG flags, ULONG keySize, LPBYTE key, ULONG* stateSize, LPBYTE* state) override;
  STDMETHODIMP SetCollapseState(ULONG flags, ULONG stateSize, LPBYTE state, BOOKMARK* location) override;

 private:
  // Updates rows_ if necessary.
  HRESULT load();
  void forgetRows();
  HRESULT positionOf(BOOKMARK bookmark, std::size_t& position) const;
  HRESULT findFrom(const Restriction& wanted, std::size_t begin, std::size_t end, bool backward, std::size_t& found);
  HRESULT readRows(std::size_t begin, std::size_t count, LPSRowSet* rows);
  std::vector<ULONG> shownTags(const std::vector<PropertyTag>& tags) const;

  ObjectHome home_;
  std::unique_ptr<RowSource> source_;
  TextForm form_;
  std::vector<ULONG> columns_;  // the client's tags
  std::unique_ptr<Restriction> restriction_;
  std::vector<SSortOrder> sortOrder_;
  bool loaded_ = false;
  std::uint64_t sourceState_ = 0;  // at that time
  std::vector<RowKey> rows_;
  std::size_t cursor_ = 0;  // before this row; rows_.size() at the end
  std::map<ULONG, std::size_t> bookmarks_;
  ULONG nextBookmark_ = static_cast<ULONG>(BOOKMARK_END) + 1;  // never reused
};

}  // namespace fendrel::provider
