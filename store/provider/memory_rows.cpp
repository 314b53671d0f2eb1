#include "memory_rows.h"

#include <algorithm>
#include <cstring>

namespace fendrel::provider {

Property findProperty(std::span<const Property> properties, PropertyTag tag) {
  const auto found =
      std::ranges::find(properties, PROP_ID(tag), [](const Property& property) { return PROP_ID(property.tag); });
  return found == properties.end() ? Property{} : *found;
}

bool MemoryRows::hand(std::size_t index, std::span<const PropertyTag> columns, const RowSink& sink) const {
  std::vector<Property> values;
  values.reserve(columns.size());
  for (const PropertyTag column : columns) values.push_back(findProperty(rows_[index], column));
  return sink(RowKey(std::as_bytes(std::span(&index, 1))), values);
}

HRESULT MemoryRows::scan(std::span<const PropertyTag> columns, const RowSink& sink) {
  for (std::size_t index = 0; index < rows_.size(); ++index) {
    if (!hand(index, columns, sink)) break;
  }
  return S_OK;
}

HRESULT MemoryRows::read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) {
  for (const RowKey& row : rows) {
    std::size_t index = 0;
    std::memcpy(&index, row.bytes().data(), sizeof index);
    if (!hand(index, columns, sink)) break;
  }
  return S_OK;
}

}  // namespace fendrel::provider
