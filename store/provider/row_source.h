// The source of a table's rows.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "id.h"
#include "property_values.h"

namespace fendrel::provider {

// Identifies a row while the table is open.
using RowKey = store::Id;

// Receives one row's values in the order of the requested columns, with tag 0 for missing properties. False ends the
// reading. The sink must not call the engine.
using RowSink = std::function<bool(const RowKey&, std::vector<Property>&)>;

// Columns are requested by identifier, of any type.
class RowSource {
 public:
  virtual ~RowSource() = default;

  // The default columns, and all possible columns.
  virtual std::vector<PropertyTag> defaultColumns() const = 0;
  virtual std::vector<PropertyTag> allColumns() const { return defaultColumns(); }

  virtual bool hasBookmarks() const { return true; }

  // Changes when an open table must show other rows.
  virtual std::uint64_t state() const { return 0; }

  // All rows in their natural order.
  virtual HRESULT scan(std::span<const PropertyTag> columns, const RowSink& sink) = 0;

  // These rows in this order, without deleted ones.
  virtual HRESULT read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) = 0;
};

}  // namespace fendrel::provider
