// Reading property values and table rows.
#pragma once

#include <mapitags.h>
#include <mapix.h>

#include <concepts>
#include <optional>
#include <string>
#include <vector>

#include "failure.h"
#include "mapi_memory.h"
#include "object_words.h"

namespace fendrel::host {

using EntryId = std::vector<std::uint8_t>;

// Null for a value that the provider could not supply: it has another tag.
inline const SPropValue* valueAt(const SRow& row, ULONG column, ULONG tag) {
  return column < row.cValues && row.lpProps[column].ulPropTag == tag ? &row.lpProps[column] : nullptr;
}

inline std::wstring textAt(const SRow& row, ULONG column, ULONG tag) {
  const SPropValue* value = valueAt(row, column, tag);
  return value && value->Value.lpszW ? value->Value.lpszW : std::wstring();
}

inline ULONG numberAt(const SRow& row, ULONG column, ULONG tag) {
  const SPropValue* value = valueAt(row, column, tag);
  return value ? value->Value.ul : 0;
}

inline bool flagAt(const SRow& row, ULONG column, ULONG tag) {
  const SPropValue* value = valueAt(row, column, tag);
  return value && value->Value.b != 0;
}

inline FILETIME timeAt(const SRow& row, ULONG column, ULONG tag) {
  const SPropValue* value = valueAt(row, column, tag);
  return value ? value->Value.ft : FILETIME{};
}

inline EntryId bytesAt(const SRow& row, ULONG column, ULONG tag) {
  const SPropValue* value = valueAt(row, column, tag);
  if (!value || !value->Value.bin.lpb) return {};
  return EntryId(value->Value.bin.lpb, value->Value.bin.lpb + value->Value.bin.cb);
}

inline ENTRYID* asEntryId(const EntryId& id) {
  return const_cast<ENTRYID*>(reinterpret_cast<const ENTRYID*>(id.data()));
}

// Calls `use` for the table's rows from its current position on, at most `limit`, read in batches. subject names the
// table in a failure.
template <std::invocable<const SRow&> Use>
void forEachRow(IMAPITable& table, const std::string& subject, Use use, std::size_t limit = SIZE_MAX) {
  constexpr std::size_t batch = 50;
  while (limit > 0) {
    RowSet rows;
    check(table.QueryRows(static_cast<LONG>(limit < batch ? limit : batch), 0, receive(rows)), ExitCode::failed,
          subject + " cannot be read", table);
    if (!rows || rows->cRows == 0) return;
    for (ULONG index = 0; index < rows->cRows; ++index) use(rows->aRow[index]);
    limit -= rows->cRows < limit ? rows->cRows : limit;
  }
}

// Chooses the table's columns.
inline void setColumns(IMAPITable& table, Tags columns, const std::string& subject) {
  check(table.SetColumns(columns, 0), ExitCode::failed, subject + " cannot be read");
}

}  // namespace fendrel::host
