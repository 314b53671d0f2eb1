#include "outputs.h"

#include <mapitags.h>

#include <algorithm>
#include <cstring>
#include <span>

#include "buffers.h"
#include "text.h"

namespace recording {
namespace {

constexpr ULONG surplus = 7;
constexpr ULONG farTooMany = 0x7FFFFFF0;

// Changes one value, whose texts and bytes are chained to `block`.
bool changeValue(RecordingAnswer kind, SPropValue& value, void* block) {
  const ULONG type = PROP_TYPE(value.ulPropTag);
  switch (kind) {
    case RECORDING_ERROR_VALUES:
      value.ulPropTag = CHANGE_PROP_TYPE(value.ulPropTag, PT_ERROR);
      value.Value.err = MAPI_E_NOT_ENOUGH_MEMORY;
      return true;
    case RECORDING_OTHER_WIDTH: {
      if (type != PT_STRING8) return false;
      const std::wstring text = wide(value.Value.lpszA);
      const std::size_t size = (text.size() + 1) * sizeof(wchar_t);
      value.Value.lpszW = static_cast<wchar_t*>(buffers().allocateMore(size, block));
      std::memcpy(value.Value.lpszW, text.c_str(), size);
      value.ulPropTag = CHANGE_PROP_TYPE(value.ulPropTag, PT_UNICODE);
      return true;
    }
    case RECORDING_OTHER_TYPE:
      if (type != PT_STRING8 && type != PT_BINARY) return false;
      value.ulPropTag = CHANGE_PROP_TYPE(value.ulPropTag, PT_LONG);
      std::memset(&value.Value, 0x5A, sizeof value.Value);  // no address at all
      return true;
    case RECORDING_NULL_VALUES:
      if (type == PT_STRING8)
        value.Value.lpszA = nullptr;
      else if (type == PT_BINARY)
        value.Value.bin.lpb = nullptr;
      return type == PT_STRING8 || type == PT_BINARY;
    case RECORDING_BAD_ADDRESS:
      if (type == PT_STRING8)
        value.Value.lpszA = reinterpret_cast<char*>(UINT_PTR{48});
      else if (type == PT_BINARY)
        value.Value.bin.lpb = reinterpret_cast<BYTE*>(UINT_PTR{48});
      return type == PT_STRING8 || type == PT_BINARY;
    case RECORDING_LONG_BYTES:
      if (type == PT_BINARY) value.Value.bin.cb = farTooMany;
      return type == PT_BINARY;
    default: return false;
  }
}

bool changeValues(Answer answer, std::span<SPropValue> values) {
  bool changed = false;
  for (std::size_t column = 0; column < values.size(); ++column)
    if (answer.column < 0 || static_cast<std::size_t>(answer.column) == column)
      changed = changeValue(answer.kind, values[column], values.data()) || changed;
  return changed;
}

void release(IUnknown*& object) {
  if (IMAPISession* session = nullptr;
      SUCCEEDED(object->QueryInterface(IID_IMAPISession, reinterpret_cast<void**>(&session)))) {
    session->Logoff(0, 0, 0);
    session->Release();
  }
  object->Release();
  object = nullptr;
}

// More rows than there are; the surplus ones count columns and have none.
void addEmptyRows(SRowSet*& rows) {
  auto* const more = static_cast<SRowSet*>(buffers().allocate(CbNewSRowSet(rows->cRows + surplus), "row set"));
  more->cRows = rows->cRows + surplus;
  std::copy_n(rows->aRow, rows->cRows, more->aRow);
  std::fill_n(more->aRow + rows->cRows, surplus, SRow{.ulAdrEntryPad = 0, .cValues = surplus, .lpProps = nullptr});
  buffers().free(rows);
  rows = more;
}

bool changeRows(Answer answer, SRowSet*& rows) {
  const std::span<SRow> all(rows->aRow, rows->cRows);
  switch (answer.kind) {
    case RECORDING_NOTHING:
      for (const SRow& row : all) buffers().free(row.lpProps);
      buffers().free(rows);
      rows = nullptr;
      return true;
    case RECORDING_ROWS_WITHOUT_COLUMNS:
      for (SRow& row : all) {
        buffers().free(row.lpProps);
        row.lpProps = nullptr;
      }
      return !all.empty();
    case RECORDING_COUNT_HIGH:
      if (answer.column < 0) {
        addEmptyRows(rows);
      } else {
        for (SRow& row : all) row.cValues += surplus;
      }
      return true;
    case RECORDING_COUNT_ZERO:
      for (SRow& row : all) row.cValues = 0;
      return !all.empty();
    case RECORDING_LONG_BYTES:
      if (answer.column < 0) {  // of the set itself
        for (const SRow& row : all) buffers().free(row.lpProps);
        rows->cRows = farTooMany;
        return true;
      }
      break;
    default: break;
  }
  bool changed = false;
  for (SRow& row : all) changed = changeValues(answer, {row.lpProps, row.cValues}) || changed;
  return changed;
}

}  // namespace

uint32_t Outputs::answers() const {
  const auto bits = [](auto... kinds) { return (0u | ... | (1u << kinds)); };
  const uint32_t ofCounts = count ? bits(RECORDING_COUNT_HIGH, RECORDING_COUNT_ZERO) : 0;
  const uint32_t ofValues = bits(RECORDING_NOTHING, RECORDING_ERROR_VALUES, RECORDING_OTHER_WIDTH, RECORDING_OTHER_TYPE,
                                 RECORDING_NULL_VALUES, RECORDING_BAD_ADDRESS, RECORDING_LONG_BYTES);
  uint32_t fitting = bits(RECORDING_WARNING) | ofCounts;
  if (rows && *rows)
    fitting |= ofValues | bits(RECORDING_ROWS_WITHOUT_COLUMNS, RECORDING_COUNT_HIGH, RECORDING_COUNT_ZERO);
  if (values && *values) fitting |= ofValues;
  if (object && *object) fitting |= bits(RECORDING_NOTHING);
  if (object && *object && objectType) fitting |= bits(RECORDING_OTHER_OBJECT);
  if (block && *block) fitting |= bits(RECORDING_NOTHING);
  if (written) fitting |= bits(RECORDING_FEWER_BYTES);
  return fitting;
}

bool Outputs::change(Answer answer) const {
  if (rows && *rows) return changeRows(answer, *rows);
  if (values && *values) {
    const ULONG number = count ? *count : 1;
    if (answer.kind == RECORDING_NOTHING) {
      buffers().free(*values);
      *values = nullptr;
      return true;
    }
    if (count && (answer.kind == RECORDING_COUNT_HIGH || answer.kind == RECORDING_COUNT_ZERO)) {
      *count = answer.kind == RECORDING_COUNT_HIGH ? number + surplus : 0;
      return true;
    }
    return changeValues(answer, {*values, number});
  }
  if (object && *object) {
    if (answer.kind == RECORDING_NOTHING) {
      release(*object);
      return true;
    }
    if (answer.kind != RECORDING_OTHER_OBJECT || !objectType) return false;
    *objectType = *objectType == MAPI_MESSAGE ? MAPI_FOLDER : MAPI_MESSAGE;
    return true;
  }
  if (block && *block && answer.kind == RECORDING_NOTHING) {
    buffers().free(*block);
    *block = nullptr;
    return true;
  }
  if (count && (answer.kind == RECORDING_COUNT_HIGH || answer.kind == RECORDING_COUNT_ZERO)) {
    *count = answer.kind == RECORDING_COUNT_HIGH ? farTooMany : 0;
    return true;
  }
  if (written && answer.kind == RECORDING_FEWER_BYTES) {
    *written /= 2;
    return true;
  }
  return false;
}

}  // namespace recording
