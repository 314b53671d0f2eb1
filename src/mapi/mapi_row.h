// Reading values of a row or property array. A value that the provider could not give arrives with another tag,
// so the tag is compared before the value is read.
#pragma once

#include <cstddef>
#include <span>

#include "mapi_memory.h"

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

// The value at `column` when the row is that long and the value carries `tag`; else null.
inline const SPropValue* valueAt(const SRow& row, ULONG column, ULONG tag) noexcept {
  if (column >= row.cValues || row.lpProps[column].ulPropTag != tag) return nullptr;
  return &row.lpProps[column];
}

// 8-bit text, or null.
inline const char* textAt(const SRow& row, ULONG column, ULONG tag) noexcept {
  const SPropValue* const value = valueAt(row, column, tag);
  return value ? value->Value.lpszA : nullptr;
}

inline BinaryView binaryOf(const SPropValue& value) noexcept {
  return {reinterpret_cast<const std::byte*>(value.Value.bin.lpb), value.Value.bin.lpb ? value.Value.bin.cb : 0};
}

// Binary bytes; empty when there are none.
inline BinaryView binaryAt(const SRow& row, ULONG column, ULONG tag) noexcept {
  const SPropValue* const value = valueAt(row, column, tag);
  return value ? binaryOf(*value) : BinaryView();
}

// An entry identifier as an argument; MAPI's methods take it as writable but do not write it.
inline ENTRYID* entryIdArgument(BinaryView entryId) noexcept {
  return reinterpret_cast<ENTRYID*>(const_cast<std::byte*>(entryId.data()));
}

inline ULONG sizeArgument(BinaryView entryId) noexcept { return static_cast<ULONG>(entryId.size()); }

}  // namespace fendrel
