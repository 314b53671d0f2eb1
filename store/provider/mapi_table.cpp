#include "mapi_table.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "last_error.h"
#include "property_order.h"

namespace fendrel::provider {
namespace {

// Rows per read in a search that may end early.
constexpr std::size_t searchBatch = 256;
constexpr std::size_t mostSortColumns = 16;

// A row for each value of a list: not supported.
bool asksForInstances(ULONG tag) { return (tag & MV_INSTANCE) != 0; }

// Bookmarks have the published width, whatever the headers say.
void writeBookmark(BOOKMARK* position, ULONG bookmark) {
  const ULONG_PTR wide = bookmark;
  std::memcpy(position, &wide, sizeof wide);
}

std::vector<PropertyTag> anyTypes(std::span<const ULONG> tags) {
  std::vector<PropertyTag> columns(tags.size());
  std::ranges::transform(tags, columns.begin(), anyType);
  return columns;
}

}  // namespace

MapiTable::MapiTable(ObjectHome home, std::unique_ptr<RowSource> source, TextForm form)
    : home_(std::move(home)), source_(std::move(source)), form_(form) {
  columns_ = shownTags(source_->defaultColumns());
}

std::vector<ULONG> MapiTable::shownTags(const std::vector<PropertyTag>& tags) const {
  std::vector<ULONG> shown;
  for (const PropertyTag tag : tags) shown.push_back(shownTag(tag, form_));
  return shown;
}

STDMETHODIMP MapiTable::GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) {
  return guarded([&] { return lastError(*home_.origin, result, flags, error); });
}

STDMETHODIMP MapiTable::Advise(ULONG, LPMAPIADVISESINK, UlongPtr*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP MapiTable::Unadvise(UlongPtr) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP MapiTable::GetStatus(ULONG* status, ULONG* type) {
  if (!status || !type) return MAPI_E_INVALID_PARAMETER;
  *status = TBLSTAT_COMPLETE;
  *type = TBLTYPE_KEYSET;
  return S_OK;
}

STDMETHODIMP MapiTable::SetColumns(LPSPropTagArray columns, ULONG) {
  if (!columns || columns->cValues == 0) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    const auto tags = tagsOf(*columns);
    if (std::ranges::any_of(tags, asksForInstances)) return MAPI_E_TOO_COMPLEX;
    columns_.assign(tags.begin(), tags.end());
    return S_OK;
  });
}

STDMETHODIMP MapiTable::QueryColumns(ULONG flags, LPSPropTagArray* columns) {
  if (!columns) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    *columns = nullptr;
    *columns = makeTagArray(flags & TBL_ALL_COLUMNS ? shownTags(source_->allColumns()) : columns_).release();
    return S_OK;
  });
}

void MapiTable::forgetRows() {
  loaded_ = false;
  rows_.clear();
  bookmarks_.clear();
  cursor_ = 0;
}

HRESULT MapiTable::load() {
  const std::uint64_t state = source_->state();
  if (loaded_ && state == sourceState_) return S_OK;
  std::vector<PropertyTag> columns;
  if (restriction_) columns.assign(restriction_->columns().begin(), restriction_->columns().end());
  const std::size_t firstSortColumn = columns.size();
  for (const SSortOrder& order : sortOrder_) columns.push_back(anyType(order.ulPropTag));

  std::vector<RowKey> rows;
  std::vector<std::vector<std::string>> orderKeys;
  const HRESULT result = source_->scan(columns, [&](const RowKey& row, std::vector<Property>& values) {
    if (restriction_ && !restriction_->matches(values)) return true;
    rows.push_back(row);
    if (sortOrder_.empty()) return true;
    auto& keys = orderKeys.emplace_back();
    for (std::size_t i = 0; i < sortOrder_.size(); ++i) keys.push_back(orderKey(values[firstSortColumn + i].value));
    return true;
  });
  if (FAILED(result)) return result;

  if (!sortOrder_.empty()) {
    std::vector<std::size_t> order(rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order, [&](std::size_t left, std::size_t right) {
      for (std::size_t i = 0; i < sortOrder_.size(); ++i) {
        const int compared = orderKeys[left][i].compare(orderKeys[right][i]);
        if (compared != 0) return sortOrder_[i].ulOrder == TABLE_SORT_DESCEND ? compared > 0 : compared < 0;
      }
      return false;
    });
    std::vector<RowKey> sorted;
    sorted.reserve(rows.size());
    for (const std::size_t index : order) sorted.push_back(rows[index]);
    rows = std::move(sorted);
  }
  rows_ = std::move(rows);
  cursor_ = std::min(cursor_, rows_.size());
  sourceState_ = state;
  loaded_ = true;
  return S_OK;
}

STDMETHODIMP MapiTable::GetRowCount(ULONG, ULONG* count) {
  if (!count) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    const HRESULT result = load();
    *count = SUCCEEDED(result) ? static_cast<ULONG>(rows_.size()) : 0;
    return result;
  });
}

HRESULT MapiTable::positionOf(BOOKMARK bookmark, std::size_t& position) const {
  switch (bookmark) {
    case BOOKMARK_BEGINNING: position = 0; return S_OK;
    case BOOKMARK_CURRENT: position = cursor_; return S_OK;
    case BOOKMARK_END: position = rows_.size(); return S_OK;
    default: break;
  }
  const auto found = bookmarks_.find(static_cast<ULONG>(bookmark));
  if (found == bookmarks_.end()) return MAPI_E_INVALID_BOOKMARK;
  position = found->second;
  return S_OK;
}

STDMETHODIMP MapiTable::SeekRow(BOOKMARK origin, LONG rows, LONG* sought) {
  return guarded(*home_.mutex, [&] {
    if (const HRESULT result = load(); FAILED(result)) return result;
    std::size_t position = 0;
    if (const HRESULT result = positionOf(origin, position); FAILED(result)) return result;
    const auto from = static_cast<LONGLONG>(position);
    const auto to = std::clamp<LONGLONG>(from + rows, 0, static_cast<LONGLONG>(rows_.size()));
    cursor_ = static_cast<std::size_t>(to);
    if (sought) *sought = static_cast<LONG>(to - from);
    return S_OK;
  });
}

STDMETHODIMP MapiTable::SeekRowApprox(ULONG numerator, ULONG denominator) {
  if (denominator == 0) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    if (const HRESULT result = load(); FAILED(result)) return result;
    const auto count = static_cast<ULONGLONG>(rows_.size());
    cursor_ = static_cast<std::size_t>(numerator >= denominator ? count : count * numerator / denominator);
    return S_OK;
  });
}

STDMETHODIMP MapiTable::QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) {
  if (!row || !numerator || !denominator) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    if (const HRESULT result = load(); FAILED(result)) return result;
    *row = static_cast<ULONG>(cursor_);
    *numerator = static_cast<ULONG>(cursor_);
    *denominator = std::max<ULONG>(static_cast<ULONG>(rows_.size()), 1);
    return S_OK;
  });
}

HRESULT MapiTable::findFrom(const Restriction& wanted, std::size_t begin, std::size_t end, bool backward,
                            std::size_t& found) {
  while (begin < end) {
    const std::size_t count = std::min(searchBatch, end - begin);
    const std::size_t first = backward ? end - count : begin;
    // The source omits deleted rows, so positions are matched by key.
    std::size_t next = first, hit = rows_.size();
    const std::span batch(rows_.data() + first, count);
    const HRESULT result =
        source_->read(batch, wanted.columns(), [&](const RowKey& row, std::vector<Property>& values) {
          while (next < first + count && rows_[next] != row) ++next;
          if (!wanted.matches(values)) return true;
          hit = next;
          return backward;
        });
    if (FAILED(result)) return result;
    if (hit < rows_.size()) {
      found = hit;
      return S_OK;
    }
    if (backward)
      end -= count;
    else
      begin += count;
  }
  return MAPI_E_NOT_FOUND;
}

STDMETHODIMP MapiTable::FindRow(LPSRestriction restriction, BOOKMARK origin, ULONG flags) {
  if (!restriction) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    if (const HRESULT result = load(); FAILED(result)) return result;
    std::size_t position = 0;
    if (const HRESULT result = positionOf(origin, position); FAILED(result)) return result;
    std::unique_ptr<Restriction> wanted;
    if (const HRESULT result = Restriction::copy(*restriction, wanted); FAILED(result)) return result;
    const bool backward = (flags & DIR_BACKWARD) != 0;
    std::size_t found = 0;
    const HRESULT result = backward ? findFrom(*wanted, 0, position, true, found)
                                    : findFrom(*wanted, position, rows_.size(), false, found);
    if (SUCCEEDED(result)) cursor_ = found;
    return result;
  });
}

STDMETHODIMP MapiTable::Restrict(LPSRestriction restriction, ULONG) {
  return guarded(*home_.mutex, [&] {
    std::unique_ptr<Restriction> copied;
    if (restriction) {
      if (const HRESULT result = Restriction::copy(*restriction, copied); FAILED(result)) return result;
    }
    restriction_ = std::move(copied);
    forgetRows();
    return S_OK;
  });
}

STDMETHODIMP MapiTable::CreateBookmark(BOOKMARK* position) {
  if (!position) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    if (!source_->hasBookmarks()) return MAPI_E_NO_SUPPORT;
    if (const HRESULT result = load(); FAILED(result)) return result;
    bookmarks_.emplace(nextBookmark_, cursor_);
    writeBookmark(position, nextBookmark_++);
    return S_OK;
  });
}

STDMETHODIMP MapiTable::FreeBookmark(BOOKMARK position) {
  return guarded(*home_.mutex, [&] {
    if (position <= BOOKMARK_END) return S_OK;  // the standard ones are permanent
    return bookmarks_.erase(static_cast<ULONG>(position)) ? S_OK : MAPI_E_INVALID_BOOKMARK;
  });
}

STDMETHODIMP MapiTable::SortTable(LPSSortOrderSet order, ULONG) {
  if (!order) return MAPI_E_INVALID_PARAMETER;
  if (order->cCategories > 0 || order->cSorts > mostSortColumns) return MAPI_E_TOO_COMPLEX;
  return guarded(*home_.mutex, [&] {
    for (ULONG i = 0; i < order->cSorts; ++i) {
      if (order->aSort[i].ulOrder == TABLE_SORT_COMBINE) return MAPI_E_TOO_COMPLEX;
      if (asksForInstances(order->aSort[i].ulPropTag)) return MAPI_E_TOO_COMPLEX;
      if (order->aSort[i].ulOrder > TABLE_SORT_COMBINE) return MAPI_E_INVALID_PARAMETER;
    }
    sortOrder_.assign(order->aSort, order->aSort + order->cSorts);
    forgetRows();
    return S_OK;
  });
}

STDMETHODIMP MapiTable::QuerySortOrder(LPSSortOrderSet* order) {
  if (!order) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    *order = nullptr;
    auto copy = allocateMapi<SSortOrderSet>(CbNewSSortOrderSet(std::max<std::size_t>(sortOrder_.size(), 1)));
    copy->cSorts = static_cast<ULONG>(sortOrder_.size());
    std::ranges::copy(sortOrder_, copy->aSort);
    *order = copy.release();
    return S_OK;
  });
}

HRESULT MapiTable::readRows(std::size_t begin, std::size_t count, LPSRowSet* rows) {
  MapiRows set(allocateMapi<SRowSet>(CbNewSRowSet(std::max<std::size_t>(count, 1))).release());
  const std::vector<PropertyTag> columns = anyTypes(columns_);
  std::vector<Answer> answers(columns_.size());
  const Property nothing{};
  const auto add = [&](std::size_t index, std::span<const Property> values) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      answers[i] = answerFor(columns_[i], values.empty() ? nothing : values[i], form_);
    }
    SRow& row = set->aRow[index];
    row.lpProps = makeValues(answers).release();
    row.cValues = static_cast<ULONG>(columns_.size());
    set->cRows = std::max(set->cRows, static_cast<ULONG>(index) + 1);
  };

  std::size_t next = 0;
  const HRESULT result = source_->read(std::span(rows_).subspan(begin, count), columns,
                                       [&](const RowKey& row, std::vector<Property>& values) {
                                         // A row deleted since keeps its place, with only errors in it.
                                         for (; next < count && rows_[begin + next] != row; ++next) add(next, {});
                                         if (next < count) add(next++, values);
                                         return true;
                                       });
  if (FAILED(result)) return result;
  for (; next < count; ++next) add(next, {});
  *rows = set.release();
  return S_OK;
}

STDMETHODIMP MapiTable::QueryRows(LONG count, ULONG flags, LPSRowSet* rows) {
  if (!rows || count == 0) return MAPI_E_INVALID_PARAMETER;
  return guarded(*home_.mutex, [&] {
    *rows = nullptr;
    if (const HRESULT result = load(); FAILED(result)) return result;
    const auto wanted = static_cast<std::size_t>(count < 0 ? -static_cast<LONGLONG>(count) : count);
    const std::size_t begin = count < 0 ? cursor_ - std::min(wanted, cursor_) : cursor_;
    const std::size_t taken = count < 0 ? cursor_ - begin : std::min(wanted, rows_.size() - cursor_);
    if (const HRESULT result = readRows(begin, taken, rows); FAILED(result)) return result;
    // In both directions the cursor is before the first returned row or after the last one.
    cursor_ = flags & TBL_NOADVANCE ? begin : begin + taken;
    return S_OK;
  });
}

STDMETHODIMP MapiTable::Abort() { return S_OK; }

STDMETHODIMP MapiTable::ExpandRow(ULONG, LPBYTE, ULONG, ULONG, LPSRowSet*, ULONG*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP MapiTable::CollapseRow(ULONG, LPBYTE, ULONG, ULONG*) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP MapiTable::WaitForCompletion(ULONG, ULONG, ULONG* status) {
  if (status) *status = TBLSTAT_COMPLETE;
  return S_OK;
}

STDMETHODIMP MapiTable::GetCollapseState(ULONG, ULONG, LPBYTE, ULONG*, LPBYTE*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP MapiTable::SetCollapseState(ULONG, ULONG, LPBYTE, BOOKMARK*) { return MAPI_E_NO_SUPPORT; }

}  // namespace fendrel::provider
