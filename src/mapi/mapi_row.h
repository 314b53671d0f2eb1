// Reads values of a row or property array. A value that the provider could not supply has another tag, so the tag is
// compared before the value is read.
#pragma once

#include <cstddef>
#include <span>

#include "mapi_memory.h"
#include "readable_memory.h"

namespace fendrel {

// A constant array of property tags, as tables and GetProps take it.
template <std::size_t count>
struct PropertyTags {
  ULONG size = count;
  ULONG tags[count];

  const SPropTagArray& array() const noexcept { return *reinterpret_cast<const SPropTagArray*>(this); }
  SPropTagArray* argument() const noexcept { return const_cast<SPropTagArray*>(&array()); }
};
template <class... Tags>
constexpr auto propertyTags(Tags... tags) noexcept {
  return PropertyTags<sizeof...(Tags)>{sizeof...(Tags), {static_cast<ULONG>(tags)...}};
}

using BinaryView = std::span<const std::byte>;

// The columns of a row; none without an array, whatever the count says.
inline std::span<const SPropValue> columnsOf(const SRow& row) noexcept {
  return {row.lpProps, row.lpProps ? row.cValues : 0};
}

// The value at `column` if the row is that long and the value has `tag`; else null.
inline const SPropValue* valueAt(const SRow& row, ULONG column, ULONG tag) noexcept {
  const auto columns = columnsOf(row);
  return column < columns.size() && columns[column].ulPropTag == tag ? &columns[column] : nullptr;
}

// 8-bit text; null also if it does not end in readable memory.
inline const char* readableTextOf(const SPropValue& value) noexcept {
  return isReadableText(value.Value.lpszA) ? value.Value.lpszA : nullptr;
}

inline const char* textAt(const SRow& row, ULONG column, ULONG tag) noexcept {
  const SPropValue* const value = valueAt(row, column, tag);
  return value ? readableTextOf(*value) : nullptr;
}

// Counted bytes; none if the count reaches past readable memory, because they are copied by their count.
inline BinaryView binaryOf(const void* bytes, ULONG size) noexcept {
  if (!bytes || readableBytes(bytes, size) < size) return {};
  return {static_cast<const std::byte*>(bytes), size};
}

inline BinaryView binaryOf(const SPropValue& value) noexcept {
  return binaryOf(value.Value.bin.lpb, value.Value.bin.cb);
}

// Binary bytes; empty when there are none.
inline BinaryView binaryAt(const SRow& row, ULONG column, ULONG tag) noexcept {
  const SPropValue* const value = valueAt(row, column, tag);
  return value ? binaryOf(*value) : BinaryView();
}

// Properties of an object, as columns in the order of the requested tags.
class ObjectProperties {
 public:
  // The result of GetProps; success without values is a failure.
  HRESULT read(IMAPIProp* object, SPropTagArray* tags) noexcept {
    const HRESULT result = object->GetProps(tags, 0, &row_.cValues, receive(values_));
    row_.lpProps = values_.get();
    return SUCCEEDED(result) && !values_ ? MAPI_E_CALL_FAILED : result;
  }
  const SRow& row() const noexcept { return row_; }

 private:
  MapiBuffer<SPropValue> values_;
  SRow row_{};
};

// An entry identifier as an argument; MAPI's methods take it as writable but do not write it.
inline ENTRYID* entryIdArgument(BinaryView entryId) noexcept {
  return reinterpret_cast<ENTRYID*>(const_cast<std::byte*>(entryId.data()));
}

inline ULONG sizeArgument(BinaryView entryId) noexcept { return static_cast<ULONG>(entryId.size()); }

}  // namespace fendrel
