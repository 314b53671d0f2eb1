// Table rows held in memory.
#pragma once

#include "row_source.h"

namespace fendrel::provider {

class MemoryRows final : public RowSource {
 public:
  using Row = std::vector<Property>;

  // `columns`: those of the table; a row may lack some of them.
  MemoryRows(std::vector<PropertyTag> columns, std::vector<Row> rows)
      : columns_(std::move(columns)), rows_(std::move(rows)) {}

  std::vector<PropertyTag> defaultColumns() const override { return columns_; }
  HRESULT scan(std::span<const PropertyTag> columns, const RowSink& sink) override;
  HRESULT read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) override;

 private:
  bool hand(std::size_t index, std::span<const PropertyTag> columns, const RowSink& sink) const;

  std::vector<PropertyTag> columns_;
  std::vector<Row> rows_;
};

// A table of one row, with the row's columns.
inline std::unique_ptr<MemoryRows> oneRow(MemoryRows::Row row) {
  std::vector<PropertyTag> columns;
  for (const Property& property : row) columns.push_back(property.tag);
  return std::make_unique<MemoryRows>(std::move(columns), std::vector<MemoryRows::Row>{std::move(row)});
}

// The property with that identifier; tag 0 if there is none.
Property findProperty(std::span<const Property> properties, PropertyTag tag);

}  // namespace fendrel::provider
